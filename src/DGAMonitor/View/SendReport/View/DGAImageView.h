#pragma once

#include <QPainter>
#include <QWidget>

#include "support/widgets/WidgetIcon.h"

/// Shows one of the icons that are compiled in, as large as fits, in the middle. Clicks go to the view that
/// it lies in.
class DGAImageView final : public QWidget {
    Q_OBJECT

public:
    explicit DGAImageView(QWidget* parent = nullptr) : QWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

    const QString& imageName() const { return imageName_; }
    void setImageName(const QString& name) {
        imageName_ = name;
        update();
    }

    QSize sizeHint() const override { return {18, 18}; }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        const qreal side = qMin(width(), height());
        QRectF icon(0, 0, side, side);
        icon.moveCenter(QRectF(rect()).center());
        WidgetIcon::paint(painter, icon, imageName_);
    }

private:
    QString imageName_;
};
