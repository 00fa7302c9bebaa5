#pragma once

#include <QIcon>
#include <QPainter>
#include <QRectF>
#include <QString>

/// The icons that are compiled in, drawn as vectors and so crisp at every scale. Main thread.
class WidgetIcon {
public:
    WidgetIcon() = delete;

    /// Draws an icon into a rectangle. A name may carry an ending (".tiff"), which is left out; one that is
    /// not known draws nothing.
    static void paint(QPainter& painter, const QRectF& rect, const QString& name);

    /// The icon of windows, in the sizes that window managers ask for.
    static QIcon applicationIcon(qreal pixelRatio);
};
