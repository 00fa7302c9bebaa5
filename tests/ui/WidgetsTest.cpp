#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>
#include <ctime>

#include "DGAMonitor/View/DGALabel.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAViewFrame.h"
#include "DGAMonitor/View/SendReport/View/DGAButton.h"
#include "DGAMonitor/View/SendReport/View/DGACheckboxButton.h"
#include "DGAMonitor/View/SendReport/View/DGADropDownListView.h"
#include "DGAMonitor/View/SendReport/View/DGAImageView.h"
#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"
#include "DGAMonitor/View/SendReport/View/DGAProblemReportingWindow.h"
#include "DGAMonitor/View/SendReport/View/DGASendReportInfoView.h"
#include "support/widgets/QuivetSpinImageView.h"
#include "ui/UiTest.h"

namespace {

using namespace std::chrono_literals;

struct Choices final : DGADropDownListViewDelegate {
    void dropDownListDidSelect(DGADropDownListView& /*listView*/, const QString& categoryTitle) override {
        titles << categoryTitle;
    }
    QStringList titles;
};

class WidgetsTest : public ui::UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        column->setContentsMargins(24, 24, 24, 24);
        column->setSpacing(16);
        window.setFixedWidth(440);
    }

    DGACheckboxButton* addCheckbox(const QString& title) {
        auto* const box = new DGACheckboxButton(&window);
        box->setTitle(title);
        box->setSelectedTitle(title);
        box->setIconName("checkBox_no");
        box->setSelectedIconName("checkBox_checked");
        column->addWidget(box);
        box->prepared();
        return box;
    }

    DGADropDownListView* addList(const QStringList& titles, const QString& defaultTitle) {
        auto* const list = new DGADropDownListView(&window);
        list->setListTitleArr(titles);
        list->setDefautTitle(defaultTitle);
        list->setDelegate(&choices);
        column->addWidget(list);
        list->prepared();
        return list;
    }

    void show() {
        window.center();
        window.showInFront();
        ASSERT_TRUE(ui::waitUntilActive(window));
    }

    static const QWidget* popover() {
        for (const QWidget* const widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && qobject_cast<const DGASendReportInfoView*>(widget))
                return widget;
        }
        return nullptr;
    }

    Choices choices;
    DGAProblemReportingWindow window;
    QVBoxLayout* const column = new QVBoxLayout(&window);
};

TEST_F(WidgetsTest, ACheckboxTogglesByClickAndBySpaceAndTellsAssistiveTools) {
    auto* const box = addCheckbox("Include full screen capture");
    show();
    const QAccessibleInterface* const told = QAccessible::queryAccessibleInterface(box);
    EXPECT_EQ(told->role(), QAccessible::CheckBox);
    EXPECT_EQ(told->text(QAccessible::Name), "Include full screen capture");
    ui::click(*box->imageV());
    EXPECT_TRUE(box->selected());
    EXPECT_TRUE(told->state().checked);
    ui::click(*box->titleLab());
    EXPECT_FALSE(box->selected());
    ui::press("space");
    EXPECT_TRUE(box->selected());
    ui::click(*box->infoBtn());
    EXPECT_TRUE(box->selected());
}

TEST_F(WidgetsTest, ALongTitleWrapsBeforeTheInfoButton) {
    auto* const box = addCheckbox(
        "Systeminformationen und Informationen zu den Anwendungen von Orvane in den Bericht einschließen");
    show();
    const QRect title = box->titleLab()->geometry();
    EXPECT_EQ(title.left(), 24);
    EXPECT_EQ(title.width(), box->width() - 18 - 12 - 18);
    EXPECT_EQ(box->infoBtn()->x(), title.right() + 1 + 6);
    EXPECT_GE(box->height(), box->titleLab()->heightForWidth(title.width()));
}

TEST_F(WidgetsTest, ALabelKnowsItsSizesForWhatItShowsNow) {
    DGALabel label(&window);
    QLabel plain(&window);
    for (QLabel* const each : {static_cast<QLabel*>(&label), &plain})
        each->setWordWrap(true);
    const QString texts[] = {QStringLiteral("short"),
                             QString(30, QLatin1Char('w')) + QStringLiteral(" and more"), QString()};
    for (const int points : {9, 18, 9}) {
        for (const QString& text : texts) {
            QFont font = plain.font();
            font.setPointSize(points);
            for (QLabel* const each : {static_cast<QLabel*>(&label), &plain}) {
                each->setFont(font);
                each->setText(text);
            }
            EXPECT_EQ(label.sizeHint(), plain.sizeHint());
            EXPECT_EQ(label.minimumSizeHint(), plain.minimumSizeHint());
            for (const int width : {80, 400})
                EXPECT_EQ(label.heightForWidth(width), plain.heightForWidth(width)) << width;
        }
    }
}

TEST_F(WidgetsTest, ThePopoverComesWithTheMouseAndWithTheKeyboard) {
    const auto* const above = addCheckbox("Include a full-screen capture");
    auto* const box = addCheckbox("Include system information");
    auto* const below = new DGAButton(&window);
    column->addWidget(below);
    show();
    ui::moveTo(*box->infoBtn());
    ASSERT_TRUE(ui::waitUntil([] { return popover() != nullptr; }));
    for (const QWidget* const other :
         {static_cast<const QWidget*>(above), static_cast<const QWidget*>(below)})
        EXPECT_FALSE(popover()->geometry().intersects({other->mapToGlobal(QPoint()), other->size()}));
    const auto* const text = popover()->findChild<QLabel*>();
    EXPECT_EQ(text->geometry().width(), 276);
    EXPECT_GE(text->height(), text->heightForWidth(276));
    EXPECT_EQ(popover()->size(), QSize(300, text->height() + 24));
    EXPECT_TRUE(window.isActiveWindow());
    ui::takePicture("popover");
    ui::moveTo(window, {4, 4});
    EXPECT_TRUE(ui::waitUntil([] { return !popover(); }));

    box->setFocus();
    ui::press("Tab");
    EXPECT_TRUE(ui::waitUntil([] { return popover() != nullptr; }));
    bool closed = false;
    QObject::connect(&window, &DGAWindowBase::closeRequested, [&closed] { closed = true; });
    ui::press("Escape");
    EXPECT_FALSE(popover());
    EXPECT_FALSE(closed);
    ui::press("space");
    EXPECT_TRUE(popover());
    window.hide();
    EXPECT_FALSE(popover());
}

TEST_F(WidgetsTest, AWindowStaysInTheWorkAreaAndItsButtonsInTheWindow) {
    auto* const contents = new QVBoxLayout;
    auto* const text = new QLabel("short");
    contents->addWidget(text);
    column->addLayout(contents);
    auto* const button = new DGAButton(&window);
    column->addWidget(button);
    window.setScrolling(*contents);
    show();
    const QRect room = window.screen()->availableGeometry();
    const int low = window.height();
    EXPECT_EQ(text->visibleRegion().boundingRect().height(), text->height());
    text->setText(QString("line\n").repeated(100));
    EXPECT_TRUE(ui::waitUntil([&] { return window.height() > room.height() * 3 / 4; }));
    window.center();
    EXPECT_TRUE(ui::waitUntil([&] { return room.contains(window.frameGeometry()); }));
    EXPECT_TRUE(window.rect().contains(button->geometry()));
    // Who has given it a size keeps it.
    window.resize(window.width(), 300);
    ui::runFor(100ms);
    text->setText("short");
    ui::runFor(100ms);
    EXPECT_EQ(window.height(), 300);
    window.center();
    EXPECT_EQ(window.height(), low);
}

TEST_F(WidgetsTest, ADropDownIsUsedByMouseAndByKeyboard) {
    auto* const list = addList({"Choose", "Joining", "Audio", "Other"}, "Choose");
    const auto* const box = list->findChild<LarimoDropdownBox*>();
    show();
    EXPECT_EQ(box->title(), "Choose");
    EXPECT_EQ(box->geometry(), QRect(16, 0, list->width() - 32, list->height()));
    EXPECT_TRUE(choices.titles.isEmpty());

    ui::click(*list);
    ui::takePicture("dropdown");
    ui::press("Down Down Return");
    EXPECT_EQ(choices.titles, QStringList{"Audio"});
    EXPECT_EQ(box->title(), "Audio");
    ui::press("Down");
    EXPECT_EQ(choices.titles.last(), "Other");
    ui::click(*list);
    ASSERT_TRUE(QApplication::activePopupWidget());
    EXPECT_EQ(QApplication::activePopupWidget()->width(), list->width());
    EXPECT_EQ(QApplication::activePopupWidget()->x(), list->mapToGlobal(QPoint()).x());
    ui::press("Escape");
    EXPECT_EQ(choices.titles.size(), 2);

    choices.titles.clear();
    list->clearStatus();
    EXPECT_EQ(choices.titles, QStringList{"Choose"});
    EXPECT_EQ(box->title(), "Choose");
    EXPECT_EQ(box->selectedIndex(), 0);
}

TEST_F(WidgetsTest, ADropDownIsRebuiltAroundItsDefaultTitle) {
    auto* const list = addList({"a", "b", "c", "b"}, "b");
    const auto* const box = list->findChild<LarimoDropdownBox*>();
    EXPECT_EQ(list->seletedIndex(), 3U);
    list->setDefautTitle("none of them");
    list->setListTitleArr({"a", "b", "c", "d", "e"});
    list->refreshComboBoxWithIndex(1);
    EXPECT_EQ(list->seletedIndex(), 3U);
    EXPECT_EQ(box->selectedIndex(), 3);
    EXPECT_EQ(box->count(), 5);
    EXPECT_EQ(box->title(), "none of them");
    EXPECT_EQ(choices.titles, QStringList{"b"});
    list->refreshComboBoxWithIndex(17);
    EXPECT_EQ(choices.titles.size(), 1);
    EXPECT_EQ(list->findChildren<LarimoDropdownBox*>().size(), 1);
}

TEST_F(WidgetsTest, ASpinnerTurnsOnlyWhileItIsSeenAndCostsLittle) {
    auto* const spinner = new QuivetSpinImageView(&window);
    spinner->setGeometry(24, 24, 16, 16);
    spinner->startSpin();
    show();
    const auto cpu = [] { return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC; };
    const auto before = cpu();
    const QImage first = spinner->grab().toImage();
    ui::runFor(450ms);
    EXPECT_NE(first, spinner->grab().toImage());
    ui::runFor(1550ms);
    const double share = (cpu() - before) / 2000.0;
    RecordProperty("cpu_share", std::to_string(share));
    EXPECT_LT(share, ui::isSanitized() ? 0.5 : 0.02);
    spinner->stopSpin();
    const QImage stopped = spinner->grab().toImage();
    ui::runFor(250ms);
    EXPECT_EQ(stopped, spinner->grab().toImage());
}

TEST_F(WidgetsTest, ColoursAreReadFromText) {
    const QColor grey(0xd6, 0xd6, 0xd6);
    const struct {
        const char* text;
        QColor colour;
    } cases[] = {
        {"#D6D6D6", grey}, {" d6d6d6\n", grey},          {"##D6D6D6", Qt::black}, {"#D6D6D", Qt::black},
        {"", Qt::black},   {"#1Z0000", QColor(1, 0, 0)}, {"zz00FF", Qt::blue},
    };
    for (const auto& c : cases)
        EXPECT_EQ(dga_hexStringToColor(c.text).rgba(), c.colour.rgba()) << c.text;
}

TEST_F(WidgetsTest, AFrameIsChangedInOnePart) {
    QWidget view(&window);
    view.setGeometry(1, 2, 30, 40);
    setDga_x(view, 5);
    setDga_height(view, 50);
    EXPECT_EQ(view.geometry(), QRect(5, 2, 30, 50));
    setDga_y(view, 6);
    setDga_width(view, 7);
    EXPECT_EQ(view.geometry(), QRect(5, 6, 7, 50));
    setDga_size(view, {8, 9});
    EXPECT_EQ(view.geometry(), QRect(5, 6, 8, 9));
}

}  // namespace
