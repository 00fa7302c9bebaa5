#pragma once

#include <QPushButton>

/// A button that is only an icon. It needs an accessible name.
class DGAIconButton : public QPushButton {
    Q_OBJECT

public:
    explicit DGAIconButton(QWidget* parent = nullptr);

    const QString& iconName() const { return iconName_; }
    void setIconName(const QString& name);

    QSize sizeHint() const override { return {24, 24}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QString iconName_;
};
