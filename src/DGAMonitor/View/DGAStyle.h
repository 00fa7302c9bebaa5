#pragma once

#include <QColor>
#include <QFont>

class QPainter;
class QRectF;

/// How the windows look, in one place. Lengths are in points: device-independent pixels.
namespace DGAStyle {

/// Distances are multiples of it.
inline constexpr int kGrid = 8;

inline constexpr qreal kCornerRadius = 4.0;

// Sizes of text, in points.
inline constexpr int kSmallFontSize = 12;
inline constexpr int kFontSize = 14;
inline constexpr int kTitleFontSize = 15;

// Colours on white; texts have a contrast of 4.5 and more, edges of 3 and more.
inline constexpr QColor kWindow{0xff, 0xff, 0xff};
inline constexpr QColor kText{0x1a, 0x1a, 0x1a};
inline constexpr QColor kSecondaryText{0x5f, 0x5f, 0x5f};
inline constexpr QColor kDisabledText{0x8a, 0x8a, 0x8a};
inline constexpr QColor kDisabledFill{0xee, 0xee, 0xee};
inline constexpr QColor kControlEdge{0x8c, 0x8c, 0x8c};
inline constexpr QColor kAccent{0x0f, 0x62, 0xc8};
inline constexpr QColor kAccentHover{0x0c, 0x53, 0xab};
inline constexpr QColor kAccentPressed{0x09, 0x43, 0x8c};
inline constexpr QColor kHover{0xf2, 0xf2, 0xf2};
inline constexpr QColor kPressed{0xe2, 0xe2, 0xe2};
inline constexpr QColor kFrame{0xde, 0xde, 0xde};

/// Gives the application its palette, its font size and its icon. Once, after QApplication was made.
void apply();

/// The system's font in a size.
QFont systemFont(int size, bool bold = false);

/// The ring around the control that has the keyboard focus. `rect` is the control's outline.
void paintFocusRing(QPainter& painter, const QRectF& rect, qreal radius = kCornerRadius);

}  // namespace DGAStyle
