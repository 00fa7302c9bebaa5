#pragma once

#include <QWidget>

/// A banner with an icon and a message.
class LarimoNotificationView final : public QWidget {
    Q_OBJECT

public:
    /// A hidden banner. Style 1 is a warning, every other a plain notice. `frame` is where it lies in its
    /// parent; it gets higher where the message needs it.
    LarimoNotificationView(const QRect& frame, int style, const QString& message, QWidget* parent = nullptr);

    int style() const { return style_; }
    const QString& message() const { return message_; }

    /// The height that the message needs at this width; at least that of the frame.
    int heightForWidth(int width) const override;
    bool hasHeightForWidth() const override { return true; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRect textRect(int width) const;

    int frameHeight_;
    int style_;
    QString message_;
};
