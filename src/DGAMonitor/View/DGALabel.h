#pragma once

#include <QLabel>

/// A label of plain text that breaks its lines, for windows that have to be up at once: what it has measured
/// it knows for all labels of its kind, also those of the next window. Layouts ask for the height of the same
/// text in the same width a dozen times while a window comes up, and shaping the text each time is a quarter
/// of the time that takes. Main thread.
class DGALabel : public QLabel {
    Q_OBJECT

public:
    using QLabel::QLabel;

    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
};
