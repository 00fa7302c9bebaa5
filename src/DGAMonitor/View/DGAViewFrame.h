#pragma once

#include <QColor>
#include <QSize>
#include <QString>

class QWidget;

// Frame accessors of every view: each reads one part of its frame in its parent, or replaces only that part.
int dga_x(const QWidget& view);
void setDga_x(QWidget& view, int x);
int dga_y(const QWidget& view);
void setDga_y(QWidget& view, int y);
int dga_width(const QWidget& view);
void setDga_width(QWidget& view, int width);
int dga_height(const QWidget& view);
void setDga_height(QWidget& view, int height);
QSize dga_size(const QWidget& view);
void setDga_size(QWidget& view, QSize size);

/// The opaque colour of a text of six hexadecimal digits, with or without a hash sign before them and white
/// space around; black for every other length. Two characters that do not begin with a digit count as 0.
QColor dga_hexStringToColor(const QString& text);
