#pragma once

#include <QWidget>

/// What a screen reader says by itself when it changes, such as the step of something that goes on: an alert
/// without a picture. It lies in a corner of the window that it belongs to.
class DGAAnnouncement final : public QWidget {
    Q_OBJECT

public:
    explicit DGAAnnouncement(QWidget* parent);

    /// Nothing is said twice in a row.
    void say(const QString& text);
};
