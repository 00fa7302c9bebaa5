#include "DGAMonitor/View/DGAWindowBase.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QCursor>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>
#include <vector>

#include "DGAMonitor/View/DGADesktopFrame.h"
#include "DGAMonitor/View/DGAScrollArea.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAToolkitTexts.h"
#include "DGAMonitor/View/DGAWindowActivation.h"
#include "DGAMonitor/Windows/DGAApplicationWindows.h"
#include "platform/RunLoop.h"

namespace {

constexpr int kFloatingLevel = 3;
constexpr std::chrono::milliseconds kLongestActivation{400};
constexpr std::chrono::milliseconds kSizeIsHeard{1000};

// A plain widget counts as a mere group of others, whose name and text no screen reader tells.
QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
    auto* const window = qobject_cast<DGAWindowBase*>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Dialog) : nullptr;
}

// The window that was brought to the front last, until the desktop has made one active.
QPointer<DGAWindowBase>& keyboardWantedBy() {
    static auto* const window = new QPointer<DGAWindowBase>();
    return *window;
}

// The dialogs that stand between a window and its user, the lowest first.
QList<QWidget*> dialogsOver(const QWidget& window) {
    QList<QWidget*> dialogs = window.findChildren<QWidget*>();
    dialogs.removeIf(
        [](const QWidget* child) { return !child->isWindow() || !child->isModal() || !child->isVisible(); });
    return dialogs;
}

// Where a point is a fraction of pixels, the desktop's rounding takes a point away.
constexpr int kRounding = 1;

QSize beforeRounding(QSize size, qreal ratio) {
    return std::abs(std::remainder(ratio, 1.0)) < 0.01 ? size : size + QSize(kRounding + 1, kRounding + 1);
}

}  // namespace

DGAWindowBase::DGAWindowBase(QWidget* parent) : QWidget(parent, Qt::Window) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    dgaUseToolkitTexts();
    QAccessible::installFactory(makeAccessible);  // once, however often
}

DGAWindowBase::~DGAWindowBase() {
    DGAApplicationWindows::sharedWindows().setVisible(this, false);
}

void DGAWindowBase::setLevel(int level) {
    const Qt::WindowFlags flags = windowFlags().setFlag(Qt::WindowStaysOnTopHint, level >= kFloatingLevel);
    if (flags == windowFlags())
        return;
    // setWindowFlags() would hide a window that is shown.
    overrideWindowFlags(flags);
    if (windowHandle())
        windowHandle()->setFlags(flags);
}

void DGAWindowBase::showInFront() {
    show();
    bringToFront();
}

void DGAWindowBase::bringToFront() {
    if (!isVisible())
        return;
    if (isMinimized())
        showNormal();
    // Compositors bring a new window to the front; one that they know they only mark as wanting attention.
    const bool hadToken = dgaMayActivateWindows();
    if (!hasKeyboard() && shownBefore_ && !hadToken)
        showAnew();
    const bool mayStayBehind = std::exchange(shownBefore_, true);
    if (!hasKeyboard())
        keyboardWantedBy() = this;
    // Keys reach nothing below a dialog.
    const QList<QWidget*> dialogs = dialogsOver(*this);
    if (!dialogs.isEmpty())
        raise();
    dgaActivateWindow(dialogs.isEmpty() ? *this : *dialogs.last());
    // Not every compositor honours a token, or not that one.
    if (mayStayBehind && hadToken && !dgaMayActivateWindows())
        platform::performOnMainAfter(kLongestActivation, [window = QPointer<DGAWindowBase>(this)] {
            if (window && keyboardWantedBy().data() == window.data() && window->isVisible() &&
                !window->hasKeyboard())
                window->showAnew();
        });
    // A window that comes back within the toolkit's patience with a lost keyboard (400 ms) still has the
    // keyboard for it, but is active no more, and would stay so: it hears of no change.
    if (windowHandle() && QGuiApplication::focusWindow() == windowHandle() && !isActiveWindow()) {
        QT_WARNING_PUSH
        QT_WARNING_DISABLE_DEPRECATED
        QApplication::setActiveWindow(this);
        QT_WARNING_POP
    }
}

// Compositors part a dialog from a window that goes, and it would come to lie below that when it is back.
void DGAWindowBase::showAnew() {
    const QList<QWidget*> dialogs = dialogsOver(*this);
    for (QWidget* const dialog : dialogs)
        dialog->hide();
    setHiddenForPicture(true);
    setHiddenForPicture(false);
    for (QWidget* const dialog : dialogs)
        dialog->show();
}

bool DGAWindowBase::hasKeyboard() const {
    const QList<QWidget*> dialogs = dialogsOver(*this);
    return isActiveWindow() || std::any_of(dialogs.begin(), dialogs.end(),
                                           [](const QWidget* dialog) { return dialog->isActiveWindow(); });
}

QRect DGAWindowBase::workArea() const {
    const QScreen* const shownOn = isVisible() ? screen() : QGuiApplication::screenAt(QCursor::pos());
    const QScreen* const found = shownOn ? shownOn : QGuiApplication::primaryScreen();
    return found ? dgaWorkArea(*found) : QRect();
}

void DGAWindowBase::center() {
    ensurePolished();
    adoptFrame();
    fit();
    if (scroll_ && !isVisible())
        scroll_->verticalScrollBar()->setValue(0);
    const QRect room = workArea();
    if (room.isEmpty())
        return;
    QRect frame = QRect(QPoint(), size()).marginsAdded(dgaFrameOf(*this));
    frame.moveCenter(room.center());
    frame.moveTop(qMax(frame.top(), room.top()));
    move(frame.topLeft());
}

void DGAWindowBase::setDrawnFrame(QWidget& title, QWidget& closeButton) {
    title_ = &title;
    closeButton_ = &closeButton;
    titleRoom_ = new QSpacerItem(0, 0, QSizePolicy::Minimum, QSizePolicy::Fixed);
    layout()->addItem(titleRoom_);
    adoptFrame();
}

void DGAWindowBase::setScrolling(QBoxLayout& contents) {
    auto* const around = qobject_cast<QBoxLayout*>(contents.parent());
    const int place = around->indexOf(&contents);
    around->takeAt(place);
    contents.setParent(nullptr);
    scroll_ = new DGAScrollArea(&contents, around->parentWidget());
    around->insertWidget(place, scroll_, 1);
}

// The window manager may have come or gone since the window was last seen.
void DGAWindowBase::adoptFrame() {
    if (const bool drawn = !dgaDesktopDrawsFrames();
        !isVisible() && windowFlags().testFlag(Qt::FramelessWindowHint) != drawn)
        setWindowFlag(Qt::FramelessWindowHint, drawn);
    if (!title_ || !closeButton_)
        return;
    const bool drawn = windowFlags().testFlag(Qt::FramelessWindowHint);
    title_->setVisible(drawn);
    closeButton_->setVisible(drawn);
    QMargins margins = layout()->contentsMargins();
    margins.setTop(drawn ? 2 * DGAStyle::kGrid : DGAStyle::kGrid);
    layout()->setContentsMargins(margins);
    const int room = drawn ? 0 : qMax(0, dgaTitleWidth(windowTitle()) - margins.left() - margins.right());
    if (titleRoom_->sizeHint().width() == room)
        return;
    titleRoom_->changeSize(room, 0, QSizePolicy::Minimum, QSizePolicy::Fixed);
    layout()->invalidate();
}

void DGAWindowBase::fit() {
    const QSize before = size();
    const QSize room = workArea().marginsRemoved(dgaFrameOf(*this)).size();
    if (scroll_ && !room.isEmpty()) {
        scroll_->setHeightLimit(QWIDGETSIZE_MAX);
        const QSize wanted = layout()->totalSizeHint();
        int width = wanted.width();
        for (const QWidget* around = scroll_; around != this;) {
            around = around->parentWidget();
            const QMargins margins = around->layout()->contentsMargins();
            width -= margins.left() + margins.right();
        }
        const int contents = scroll_->heightForWidth(width);
        if (wanted.height() > room.height())
            scroll_->setHeightLimit(contents - (wanted.height() - room.height()));
    }
    // Not adjustSize(), which leaves a third of the screen.
    if (layout())
        resize(beforeRounding(layout()->totalSizeHint(), devicePixelRatioF())
                   .boundedTo(room)
                   .expandedTo(layout()->totalSizeHint()));
    else
        adjustSize();
    fitted_ = size();
    if (!dgaOnWayland() || !isVisible() || fitted_ == before)
        return;
    outdated_ = before;
    sinceFit_.start();
}

// What a compositor says to a window before it hears of the new size, such as that it is active, comes with
// the last one, and the toolkit obeys.
void DGAWindowBase::fitOnceMore() {
    if (!sinceFit_.isValid() || sinceFit_.hasExpired(kSizeIsHeard.count()) ||
        size() != outdated_.expandedTo(minimumSize()))
        return;
    platform::performOnMain([window = QPointer<DGAWindowBase>(this)] {
        if (!window)
            return;
        window->fit();
        window->sinceFit_.invalidate();  // one that insists has its way
    });
}

bool DGAWindowBase::event(QEvent* event) {
    const bool handled = QWidget::event(event);
    if (event->type() == QEvent::WindowActivate)
        keyboardWantedBy().clear();
    if (event->type() == QEvent::Resize && isVisible())
        fitOnceMore();
    // Its layout may have made it as large as it has to be at least.
    const QSize off = size() - fitted_.expandedTo(minimumSize());
    if (event->type() == QEvent::LayoutRequest && isVisible() && qAbs(off.width()) <= kRounding &&
        qAbs(off.height()) <= kRounding)
        fit();
    return handled;
}

void DGAWindowBase::closeEvent(QCloseEvent* event) {
    event->ignore();
    emit closeRequested();
}

void DGAWindowBase::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    windowHandle()->installEventFilter(this);
    DGAApplicationWindows::sharedWindows().setVisible(this, true);
}

void DGAWindowBase::setAllHiddenForPicture(bool hidden) {
    DGAWindowBase* front = nullptr;
    std::vector<DGAWindowBase*> windows;
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const window = qobject_cast<DGAWindowBase*>(widget);
        if (!window)
            continue;
        windows.push_back(window);
        // One that is only on its way to the front comes back there.
        if (hidden)
            window->wasActive_ = keyboardWantedBy() ? keyboardWantedBy() == window : window->isActiveWindow();
        else if (window->hiddenForPicture_ && window->wasActive_)
            front = window;
    }
    // Dialogs come after their windows, which compositors would part them from, and the one in front comes
    // last: desktops give the keyboard to whichever came last.
    std::sort(windows.begin(), windows.end(), [front](const DGAWindowBase* one, const DGAWindowBase* other) {
        return std::pair(one->parent() != nullptr, one == front) <
               std::pair(other->parent() != nullptr, other == front);
    });
    if (hidden)
        std::reverse(windows.begin(), windows.end());
    for (DGAWindowBase* const window : windows)
        window->setHiddenForPicture(hidden);
    if (front) {
        front->shownBefore_ = false;  // it is new to them
        front->bringToFront();
    }
}

void DGAWindowBase::setHiddenForPicture(bool hidden) {
    if (hidden ? !isVisible() : !hiddenForPicture_)
        return;
    const QPoint place = pos();
    if (hidden) {
        hiddenForPicture_ = true;
        focusBefore_ = focusWidget();
        QWidget::setVisible(false);
    } else {
        setVisible(true);
        move(place);
        shownBefore_ = true;
        // One that was made active while it was hidden has handed the keyboard to its next control.
        if (focusBefore_)
            focusBefore_->setFocus(Qt::ActiveWindowFocusReason);
    }
}

void DGAWindowBase::setVisible(bool visible) {
    if (visible)
        adoptFrame();
    const bool wasClosedMeanwhile = std::exchange(hiddenForPicture_, false) && !visible;
    shownBefore_ = shownBefore_ && visible;
    QWidget::setVisible(visible);
    if (wasClosedMeanwhile)
        DGAApplicationWindows::sharedWindows().setVisible(this, false);
}

// A window that was only minimised is still in use.
void DGAWindowBase::hideEvent(QHideEvent* event) {
    if (!event->spontaneous() && !hiddenForPicture_)
        DGAApplicationWindows::sharedWindows().setVisible(this, false);
    QWidget::hideEvent(event);
}

// The display server has sent it before it heard that the window is hidden.
bool DGAWindowBase::eventFilter(QObject* /*watched*/, QEvent* event) {
    return !isVisible() && (event->isInputEvent() || event->type() == QEvent::ShortcutOverride);
}

void DGAWindowBase::keyPressEvent(QKeyEvent* event) {
    // A key that is held would close the question that its first press asks, and ask it again.
    if (event->isAutoRepeat())
        return;
    if (event->matches(QKeySequence::Cancel))
        emit closeRequested();
    else
        QWidget::keyPressEvent(event);
}

void DGAWindowBase::mousePressEvent(QMouseEvent* event) {
    dragging_ = event->button() == Qt::LeftButton;
    dragStart_ = event->globalPosition().toPoint();
    dragOrigin_ = pos();
}

void DGAWindowBase::mouseMoveEvent(QMouseEvent* event) {
    const QPoint way = event->globalPosition().toPoint() - dragStart_;
    if (!dragging_ || way.manhattanLength() < QApplication::startDragDistance())
        return;
    if (windowHandle() && windowHandle()->startSystemMove())
        dragging_ = false;  // the window manager goes on
    else
        move(dragOrigin_ + way);
}

void DGAWindowBase::mouseReleaseEvent(QMouseEvent* /*event*/) {
    dragging_ = false;
}

void DGAWindowBase::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), DGAStyle::kWindow);
    if (!windowFlags().testFlag(Qt::FramelessWindowHint))
        return;
    painter.setPen(DGAStyle::kControlEdge);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void DGAWindowDeleter::operator()(DGAWindowBase* window) const {
    window->hide();
    platform::performOnMain([guarded = QPointer<DGAWindowBase>(window)] { delete guarded; });
}
