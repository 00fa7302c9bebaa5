#pragma once

#include <memory>

#include "DGAMonitor/View/SendReport/View/DGAIconButton.h"

class DGASendReportInfoViewController;

/// An info button: shows a popover while the mouse is over it, while it has the keyboard focus by the
/// keyboard, and when it is pressed. The popover covers no other button of the window.
class DGAMouseTrackingButton final : public DGAIconButton {
    Q_OBJECT

public:
    explicit DGAMouseTrackingButton(QWidget* parent = nullptr);
    ~DGAMouseTrackingButton() override;

    void closePopover();

    QSize sizeHint() const override { return {18, 18}; }

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void initializeTraking();
    void showPopover();
    QRect placeOf(QSize size) const;

    std::unique_ptr<DGASendReportInfoViewController> popover_;
};
