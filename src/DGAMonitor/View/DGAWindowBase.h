#pragma once

#include <QElapsedTimer>
#include <QPoint>
#include <QPointer>
#include <QWidget>
#include <memory>

#include "DGAMonitor/View/DGAScrollArea.h"

class QBoxLayout;
class QSpacerItem;

/// The base of all windows: white, in the desktop's own frame, moved by dragging its background, too, as
/// large as its layout needs until the user gives it another size, and never larger than the work area. Made
/// hidden. Tells the core whenever it becomes visible or ceases to be. What the user did to it before it was
/// hidden, but is read later, such as the second half of a double click, has no effect.
class DGAWindowBase : public QWidget {
    Q_OBJECT

public:
    explicit DGAWindowBase(QWidget* parent = nullptr);
    ~DGAWindowBase() override;

    /// 3 floats above normal windows, 0 does not. Also while it is shown.
    void setLevel(int level);

    /// Shows it, makes it key and brings it before all others.
    void showInFront();

    /// Makes it key, or the dialog that is over it, and brings it before all others, if it is visible.
    void bringToFront();

    /// Moves it to the middle of the screen on which the pointer is, as far as the desktop lets it.
    void center();

    /// What stands for the desktop's frame, its title and its close button, and shows only where there is
    /// none.
    void setDrawnFrame(QWidget& title, QWidget& closeButton);

    /// The part of a layout in it that scrolls where the work area is too small for all of it; what lies
    /// around it, such as the buttons, stays.
    void setScrolling(QBoxLayout& contents);

    /// Takes all windows off the screen for a moment, or puts them back, with the keyboard where it was: for
    /// everybody else they stay visible.
    static void setAllHiddenForPicture(bool hidden);

    /// Whether it is on the screen, but for a picture.
    bool isShown() const { return isVisible() || hiddenForPicture_; }

    void setVisible(bool visible) override;

signals:
    /// The user wants to close the window: Escape, the window manager, the session's end. It stays open; who
    /// owns it decides, as for its close button.
    void closeRequested();

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setHiddenForPicture(bool hidden);
    void showAnew();
    bool hasKeyboard() const;
    void adoptFrame();
    void fit();
    void fitOnceMore();
    QRect workArea() const;

    QPointer<QWidget> title_;
    QPointer<QWidget> closeButton_;
    QPointer<DGAScrollArea> scroll_;
    QSpacerItem* titleRoom_ = nullptr;  // its layout's
    QSize fitted_;                      // the size that its contents have given it
    QSize outdated_;                    // what it had before that
    QElapsedTimer sinceFit_;
    bool hiddenForPicture_ = false;
    QPointer<QWidget> focusBefore_;  // what had its keyboard before that
    bool shownBefore_ = false;       // it is no new window to the desktop
    bool wasActive_ = false;         // before that
    bool dragging_ = false;
    QPoint dragStart_;
    QPoint dragOrigin_;
};

/// Hides a window at once and deletes it soon: this may happen inside one of its own handlers.
struct DGAWindowDeleter {
    void operator()(DGAWindowBase* window) const;
};

template <typename Window>
using DGAWindowOwner = std::unique_ptr<Window, DGAWindowDeleter>;
