#include "DGAMonitor/View/DGAViewFrame.h"

#include <QWidget>

int dga_x(const QWidget& view) {
    return view.x();
}

void setDga_x(QWidget& view, int x) {
    view.move(x, view.y());
}

int dga_y(const QWidget& view) {
    return view.y();
}

void setDga_y(QWidget& view, int y) {
    view.move(view.x(), y);
}

int dga_width(const QWidget& view) {
    return view.width();
}

void setDga_width(QWidget& view, int width) {
    view.resize(width, view.height());
}

int dga_height(const QWidget& view) {
    return view.height();
}

void setDga_height(QWidget& view, int height) {
    view.resize(view.width(), height);
}

QSize dga_size(const QWidget& view) {
    return view.size();
}

void setDga_size(QWidget& view, QSize size) {
    view.resize(size);
}

QColor dga_hexStringToColor(const QString& text) {
    QString digits = text.trimmed().toUpper();
    if (digits.startsWith(QLatin1Char('#')))
        digits.remove(0, 1);
    if (digits.size() != 6)
        return Qt::black;
    const auto digit = [&digits](int position) {
        const int value = QStringLiteral("0123456789ABCDEF").indexOf(digits.at(position));
        return value;
    };
    const auto component = [&digit](int position) {
        const int high = digit(position);
        const int low = digit(position + 1);
        if (high < 0)
            return 0.0F;
        return static_cast<float>(low < 0 ? high : 16 * high + low) / 255.0F;
    };
    return QColor::fromRgbF(component(0), component(2), component(4), 1.0F);
}
