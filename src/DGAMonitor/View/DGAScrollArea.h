#pragma once

#include <QScrollArea>

/// Contents that scroll, up and down only, where they are higher than the room that there is for them;
/// wherever there is room it takes just as much as they need.
class DGAScrollArea final : public QScrollArea {
    Q_OBJECT

public:
    /// Holds the layout and all that is in it.
    DGAScrollArea(QLayout* contents, QWidget* parent);

    /// The height that it may ask for.
    void setHeightLimit(int limit);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    int wantedHeight(int width) const;
    void judgeScrollBar();

    int limit_ = QWIDGETSIZE_MAX;
};
