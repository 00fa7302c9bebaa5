#pragma once

#include <QPushButton>

/// A button that looks like a link. Space and Return press it.
class DGALinkButton final : public QPushButton {
    Q_OBJECT

public:
    explicit DGALinkButton(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};
