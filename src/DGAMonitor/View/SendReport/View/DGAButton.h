#pragma once

#include <QPushButton>

/// A push button with a title. Space and Return press it.
class DGAButton final : public QPushButton {
    Q_OBJECT

public:
    explicit DGAButton(QWidget* parent = nullptr);

    /// 2 is the primary button of its window, 0 a plain one.
    void setButtonType(int type);
    int buttonType() const { return type_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    int type_ = 0;
};
