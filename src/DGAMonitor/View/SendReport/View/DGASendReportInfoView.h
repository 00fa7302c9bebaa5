#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

/// Fills the popover: black, a little transparent.
class DGASendReportInfoBackgroundView final : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// The content of the info button's popover, which is a window of its own without focus.
class DGASendReportInfoView final : public QWidget {
    Q_OBJECT

public:
    explicit DGASendReportInfoView(QWidget* parent);

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void viewDidMoveToWindow();

    DGASendReportInfoBackgroundView* background_ = nullptr;
};

/// Makes the popover's content: what a report contains.
class DGASendReportInfoViewController {
public:
    /// Made with the first call; it belongs to `owner`.
    DGASendReportInfoView& view(QWidget* owner);

private:
    void loadView(QWidget* owner);

    QPointer<DGASendReportInfoView> view_;
    QPointer<QLabel> infoTF_;
};
