#pragma once

#include <QPlainTextEdit>
#include <string>

/// The framed background behind a text field; it shows the ring of the keyboard focus for the field inside
/// it.
class DGATextFieldBackgroundView final : public QWidget {
    Q_OBJECT

public:
    explicit DGATextFieldBackgroundView(QWidget* parent = nullptr);

    // The layer. Width 0 draws no border; without a colour there is no layer.
    void setBorderColor(const QColor& color);
    void setBorderWidth(qreal width);
    void setCornerRadius(qreal radius);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor borderColor_;
    qreal borderWidth_ = 0;
    qreal cornerRadius_ = 0;
};

/// A text field of several lines, for text of any length. Tab goes to the next control, and Return with
/// Control to the window.
class DGATextField final : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit DGATextField(QWidget* parent = nullptr);

    /// The text in UTF-8, every character as it was typed or pasted; line breaks are "\n".
    std::string stringValue() const;
    void setStringValue(const std::string& text);

    /// The number of characters that stringValue() has.
    int characterCount() const;

    /// Whether there is any character, without what an input method is still composing.
    bool hasText() const { return !document()->isEmpty(); }

    /// Whether an input method is composing text that has not been entered yet.
    bool isComposing() const { return composing_; }

signals:
    void composingChanged();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    bool composing_ = false;
};
