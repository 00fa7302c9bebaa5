#include "support/widgets/WidgetIcon.h"

#include <QFileInfo>
#include <QHash>
#include <QPixmap>
#include <QSvgRenderer>
#include <memory>

namespace {

QSvgRenderer& renderer(const QString& name) {
    // As few as there are icons, and alive as long as windows are.
    static auto* const loaded = new QHash<QString, std::shared_ptr<QSvgRenderer>>();
    auto& entry = (*loaded)[name];
    if (!entry) {
        const QString path = QStringLiteral(":/icons/%1.svg").arg(name);
        entry =
            QFileInfo::exists(path) ? std::make_shared<QSvgRenderer>(path) : std::make_shared<QSvgRenderer>();
    }
    return *entry;
}

}  // namespace

void WidgetIcon::paint(QPainter& painter, const QRectF& rect, const QString& name) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (QSvgRenderer& icon = renderer(name.section(QLatin1Char('.'), 0, 0)); icon.isValid())
        icon.render(&painter, rect);
    painter.restore();
}

QIcon WidgetIcon::applicationIcon(qreal pixelRatio) {
    QIcon icon;
    for (const int size : {16, 32, 48, 64}) {
        QPixmap pixmap(QSize(size, size) * pixelRatio);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(painter, pixmap.rect(), QStringLiteral("orvanedga"));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}
