#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <cmath>
#include <ctime>

#include "DGAMonitor/View/DGALabel.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAViewFrame.h"
#include "DGAMonitor/View/SendReport/View/DGAButton.h"
#include "DGAMonitor/View/SendReport/View/DGACheckboxButton.h"
#include "DGAMonitor/View/SendReport/View/DGADropDownListView.h"
#include "DGAMonitor/View/SendReport/View/DGAImageView.h"
#include "DGAMonitor/View/SendReport/View/DGALinkButton.h"
#include "DGAMonitor/View/SendReport/View/DGAMouseTrackingButton.h"
#include "DGAMonitor/View/SendReport/View/DGAProblemReportingWindow.h"
#include "DGAMonitor/View/SendReport/View/DGASendReportInfoView.h"
#include "support/widgets/LarimoNotificationView.h"
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
    EXPECT_TRUE(box->rect().contains(box->infoBtn()->geometry()));
    EXPECT_GE(box->height(), box->titleLab()->heightForWidth(title.width()));
    box->setTitle("Fenster");
    box->prepared();
    EXPECT_LT(box->titleLab()->width(), title.width() / 2) << "measured anew";
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
    ui::press("Escape");
    window.move(window.x(), 0);
    ui::runFor(100ms);
    ui::press("space");
    ASSERT_TRUE(popover());
    EXPECT_TRUE(window.screen()->geometry().contains(popover()->geometry()))
        << "where there is no room above";
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
    const auto* const bar = window.findChild<QScrollArea*>()->verticalScrollBar();
    EXPECT_FALSE(bar->isVisible());
    text->setText(QString("line\n").repeated(100));
    EXPECT_TRUE(ui::waitUntil([&] { return window.height() > room.height() * 3 / 4; }));
    window.center();
    EXPECT_TRUE(ui::waitUntil([&] { return room.contains(window.frameGeometry()); }));
    EXPECT_TRUE(window.rect().contains(button->geometry()));
    EXPECT_TRUE(bar->isVisible());
    // Who has given it a size keeps it.
    window.resize(window.width(), 300);
    ui::runFor(100ms);
    text->setText("short");
    ui::runFor(100ms);
    EXPECT_EQ(window.height(), 300);
    window.center();
    EXPECT_EQ(window.height(), low);
}

TEST_F(WidgetsTest, TheWindowInFrontComesBackToTheFrontAfterAPicture) {
    column->addWidget(new DGAButton(&window));
    DGAProblemReportingWindow other;
    auto* const inside = new QVBoxLayout(&other);
    inside->addWidget(new DGAButton(&other));
    show();
    for (DGAWindowBase* const front :
         {static_cast<DGAWindowBase*>(&other), static_cast<DGAWindowBase*>(&window)}) {
        front->showInFront();
        ASSERT_TRUE(ui::waitUntilActive(*front));
        DGAWindowBase::setAllHiddenForPicture(true);
        EXPECT_TRUE(ui::waitUntil([] { return QApplication::activeWindow() == nullptr; }));
        DGAWindowBase::setAllHiddenForPicture(false);
        EXPECT_TRUE(ui::waitUntilActive(*front));
        ui::runFor(100ms);
        EXPECT_TRUE(front->isActiveWindow()) << (front == &window);
    }
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
    const auto isStill = [spinner] {
        const QImage before = spinner->grab().toImage();
        ui::runFor(250ms);
        return before == spinner->grab().toImage();
    };
    spinner->startSpin();
    EXPECT_TRUE(isStill()) << "nobody sees it yet";
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
    spinner->hide();
    EXPECT_TRUE(isStill());
    spinner->show();
    EXPECT_FALSE(isStill());
    spinner->stopSpin();
    EXPECT_TRUE(isStill());
}

// What shows at a place, counted from the right and from below where it is negative.
TEST_F(WidgetsTest, StatesAreSeen) {
    using namespace DGAStyle;
    auto* const list = addList({"Choose", "Audio"}, "Choose");
    auto* const box = addCheckbox("Include");
    auto* const plain = new DGAButton(&window);
    auto* const primary = new DGAButton(&window);
    primary->setButtonType(2);
    auto* const off = new DGAButton(&window);
    off->setEnabled(false);
    for (auto* const button : {plain, primary, off})
        column->addWidget(button);
    auto* const link = new DGALinkButton(&window);
    link->setText("What will be sent");
    column->addWidget(link);
    auto* const banner = new LarimoNotificationView(QRect(0, 0, 200, 32), 1, "It failed", &window);
    column->addWidget(banner);
    banner->show();
    show();
    const QColor warning("#fdf0f0");
    const auto down = [plain, primary](bool isDown) {
        plain->setDown(isDown);
        primary->setDown(isDown);
    };
    const struct {
        const char* what;
        QWidget* focused;
        QWidget* widget;
        QPoint place;
        QColor colour;
        bool isDown = false;
    } cases[] = {
        {"no ring", primary, plain, {1, 16}, kWindow},
        {"edge", primary, plain, {2, 16}, kControlEdge},
        {"ring", plain, plain, {1, 16}, kAccent},
        {"fill", plain, plain, {6, 16}, kWindow},
        {"pressed", plain, plain, {6, 16}, kPressed, true},
        {"no ring", plain, primary, {1, 16}, kWindow},
        {"fill", plain, primary, {6, 16}, kAccent},
        {"pressed", plain, primary, {6, 16}, kAccentPressed, true},
        {"ring", primary, primary, {1, 16}, kAccent},
        {"gap", primary, primary, {2, 16}, Qt::white},
        {"disabled", primary, off, {6, 16}, kDisabledFill},
        {"no ring", primary, off, {1, 16}, kWindow},
        {"edge", plain, list, {0, 16}, kControlEdge},
        {"no ring", plain, list, {1, 16}, kWindow},
        {"ring", list, list, {1, 16}, kAccent},
        {"no ring", plain, box, {20, 9}, kWindow},
        {"ring", box, box, {20, 9}, kAccent},
        {"no ring", plain, link, {1, 8}, kWindow},
        {"ring", link, link, {1, 8}, kAccent},
        {"banner", plain, banner, {-4, 16}, warning},
    };
    const auto picture = [this](const QWidget* focused) {
        const_cast<QWidget*>(focused)->setFocus();
        ui::runFor(20ms);
        return window.grab().toImage();
    };
    for (const auto& c : cases) {
        down(c.isDown);
        const int x = c.place.x() + (c.place.x() < 0 ? c.widget->width() : 0);
        const QColor colour = picture(c.focused).pixelColor(c.widget->mapTo(&window, QPoint(x, c.place.y())));
        EXPECT_EQ(colour.name().toStdString(), c.colour.name().toStdString())
            << c.widget->metaObject()->className() << " " << c.what << " of case " << &c - cases;
    }
    down(false);
    // Where something is written or drawn, its darkest pixel is of its colour.
    plain->setText("Hide");
    const auto* const combo = list->findChild<LarimoDropdownBox*>();
    const struct {
        const QWidget* widget;
        QRect place;
        QColor colour;
    } drawn[] = {
        {combo, {0, 4, 60, 24}, kText},
        {combo, {combo->width() - 10, 12, 10, 9}, kText},
        {box->titleLab(), box->titleLab()->rect(), kText},
        {box->imageV(), box->imageV()->rect(), QColor("#6b6b6b")},
        {plain, plain->rect().adjusted(8, 8, -8, -8), kText},
        {banner, banner->rect().adjusted(28, 6, -20, -6), kText},
    };
    const QImage all = picture(primary);
    for (const auto& c : drawn) {
        const QImage part = all.copy(QRect(c.widget->mapTo(&window, c.place.topLeft()), c.place.size()));
        int darkest = 255;
        for (int i = 0; i < part.width() * part.height(); ++i)
            darkest = qMin(darkest, qGray(part.pixel(i % part.width(), i / part.width())));
        EXPECT_NEAR(darkest, qGray(c.colour.rgb()), 24) << c.widget->metaObject()->className() << &c - drawn;
    }
}

// Whatever colours the desktop has: the windows are bright, and what is written on them can be read.
TEST_F(WidgetsTest, NoThemeMakesThemUnreadable) {
    const auto luminance = [](const QColor& colour) {
        const auto linear = [](qreal part) {
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
               0.0722 * linear(colour.blueF());
    };
    const std::pair<QPalette::ColorRole, QPalette::ColorRole> pairs[] = {
        {QPalette::WindowText, QPalette::Window},
        {QPalette::Text, QPalette::Base},
        {QPalette::Text, QPalette::AlternateBase},
        {QPalette::ButtonText, QPalette::Button},
        {QPalette::ToolTipText, QPalette::ToolTipBase},
        {QPalette::PlaceholderText, QPalette::Base},
        {QPalette::Link, QPalette::Base},
        {QPalette::LinkVisited, QPalette::Base},
    };
    const QPalette before = QApplication::palette();
    for (const QColor& theme : {QColor("#232629"), QColor(Qt::black), QColor(Qt::white)}) {
        QApplication::setPalette(QPalette(theme));
        DGAStyle::apply();
        for (const auto group : {QPalette::Active, QPalette::Inactive}) {
            const QPalette palette = QApplication::palette("QWidget");
            for (const auto& [text, ground] : pairs) {
                const qreal bright = luminance(palette.color(group, ground));
                EXPECT_GT(bright, 0.8) << ground;
                EXPECT_GT((bright + 0.05) / (luminance(palette.color(group, text)) + 0.05), 4.5) << text;
            }
            EXPECT_GT(1.05 / (luminance(palette.color(group, QPalette::Highlight)) + 0.05), 4.5);
            EXPECT_EQ(palette.color(group, QPalette::HighlightedText), QColor(Qt::white));
        }
    }
    QApplication::setPalette(before);
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

}  // namespace
