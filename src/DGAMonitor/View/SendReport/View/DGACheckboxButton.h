#pragma once

#include <QCheckBox>
#include <QHash>
#include <QSize>

class DGAImageView;
class DGAMouseTrackingButton;
class QLabel;

/// A checkbox with an image, a title that wraps where it is long, and an info button behind the title. A
/// click anywhere but on the info button, or Space, toggles it; nobody is told, its owner reads selected().
class DGACheckboxButton final : public QCheckBox {
    Q_OBJECT

public:
    explicit DGACheckboxButton(QWidget* parent = nullptr);

    /// Puts the parts in their places. Once, after titles and icons were set.
    void prepared();

    bool selected() const { return isChecked(); }
    void setSelected(bool selected);

    // The title and the image, when it is not selected and when it is.
    const QString& title() const { return title_; }
    void setTitle(const QString& title) { title_ = title; }
    const QString& selectedTitle() const { return selectedTitle_; }
    void setSelectedTitle(const QString& title) { selectedTitle_ = title; }
    const QString& iconName() const { return iconName_; }
    void setIconName(const QString& name) { iconName_ = name; }
    const QString& selectedIconName() const { return selectedIconName_; }
    void setSelectedIconName(const QString& name) { selectedIconName_ = name; }

    // The parts, each made when it is first asked for, or given; they belong to the checkbox.
    DGAImageView* imageV();
    void setImageV(DGAImageView* view);
    QLabel* titleLab();
    void setTitleLab(QLabel* label);
    DGAMouseTrackingButton* infoBtn();
    void setInfoBtn(DGAMouseTrackingButton* button);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void layoutDGACheckboxButtonUI();
    void updateUI();
    void reloadTitleLabelPosition();
    QSize titleSize(int limit) const;

    // What the title takes in so much room: layouts ask again and again, and shaping text is slow.
    struct Measured {
        QString text;
        QFont font;
        QHash<int, QSize> sizes;
    };
    mutable Measured measured_;
    QString title_;
    QString selectedTitle_;
    QString iconName_;
    QString selectedIconName_;
    DGAImageView* imageV_ = nullptr;
    QLabel* titleLab_ = nullptr;
    DGAMouseTrackingButton* infoBtn_ = nullptr;
};
