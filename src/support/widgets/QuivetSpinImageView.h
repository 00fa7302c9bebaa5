#pragma once

#include <QBasicTimer>
#include <QWidget>

/// An image that turns while something is going on. It costs nothing while it is hidden or stopped.
class QuivetSpinImageView final : public QWidget {
    Q_OBJECT

public:
    explicit QuivetSpinImageView(QWidget* parent = nullptr);

    /// 7, the only image there is, is a wheel of twelve spokes. Others show it too.
    void setSpinImageType(int type) { type_ = type; }
    int spinImageType() const { return type_; }

    void startSpin();
    void stopSpin();
    bool isSpinning() const { return spinning_; }

    QSize sizeHint() const override { return {16, 16}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    int type_ = 7;
    bool spinning_ = false;
    int step_ = 0;
    QBasicTimer timer_;
};
