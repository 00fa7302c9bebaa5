#include "DGAMonitor/View/DGAStyle.h"

#include <QApplication>
#include <QPainter>
#include <QPalette>

#include "support/widgets/WidgetIcon.h"

namespace DGAStyle {
namespace {

// Every role, so that a dark desktop theme colours none of them.
QPalette windowPalette() {
    QPalette palette(kText, kWindow, Qt::white, kControlEdge, kControlEdge, kText, Qt::white, kWindow,
                     kWindow);
    palette.setColor(QPalette::Button, QColor(0xf5, 0xf5, 0xf5));
    palette.setColor(QPalette::Light, Qt::white);
    palette.setColor(QPalette::Midlight, kHover);
    palette.setColor(QPalette::Mid, kControlEdge);
    palette.setColor(QPalette::Dark, kControlEdge);
    palette.setColor(QPalette::Shadow, kSecondaryText);
    palette.setColor(QPalette::AlternateBase, kHover);
    palette.setColor(QPalette::Highlight, kAccent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, kAccent);
    palette.setColor(QPalette::LinkVisited, kAccentPressed);
    palette.setColor(QPalette::ToolTipBase, Qt::white);
    palette.setColor(QPalette::ToolTipText, kText);
    palette.setColor(QPalette::PlaceholderText, kSecondaryText);
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, kDisabledText);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, kControlEdge);
    return palette;
}

}  // namespace

void apply() {
    // On Wayland desktops that draw no frames the toolkit does, white in white, in the colours of no widget.
    QPalette frame = windowPalette();
    frame.setColor(QPalette::Window, kFrame);
    frame.setColor(QPalette::Disabled, QPalette::WindowText, kSecondaryText);
    QApplication::setPalette(frame);
    QApplication::setPalette(windowPalette(), "QWidget");
    QApplication::setFont(systemFont(kFontSize));
    QApplication::setWindowIcon(WidgetIcon::applicationIcon(qApp->devicePixelRatio()));
}

QFont systemFont(int size, bool bold) {
    QFont font = QApplication::font();
    font.setPixelSize(size);
    font.setBold(bold);
    return font;
}

void paintFocusRing(QPainter& painter, const QRectF& rect, qreal radius) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(kAccent, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), radius, radius);
    painter.restore();
}

}  // namespace DGAStyle
