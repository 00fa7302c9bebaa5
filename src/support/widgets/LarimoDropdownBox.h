#pragma once

#include <QComboBox>

#include "support/widgets/LarimoDropdownMenuitem.h"

/// Told when the user chooses an entry; not when a program does.
class LarimoDropdownBoxDelegate {
public:
    virtual ~LarimoDropdownBoxDelegate() = default;
    virtual void onSelectedIndexChanged(int index) = 0;
};

/// A box with a title and a menu of entries, of which one may be selected. Choosing an entry makes its title
/// the box's.
class LarimoDropdownBox final : public QComboBox {
    Q_OBJECT

public:
    explicit LarimoDropdownBox(QWidget* parent = nullptr);

    /// A number to find the box by among its siblings.
    int tag() const { return tag_; }
    void setTag(int tag) { tag_ = tag; }

    /// Held weakly: whoever ends first takes it away.
    void setDelegate(LarimoDropdownBoxDelegate* delegate) { delegate_ = delegate; }

    void setHasBorder(bool hasBorder);

    /// The menu's least width, and where its top left corner lies from the box's bottom left.
    int menuWidth() const { return menuWidth_; }
    void setMenuWidth(int width) { menuWidth_ = width; }
    const QPoint& popUpPoint() const { return popUpPoint_; }
    void setPopUpPoint(const QPoint& point) { popUpPoint_ = point; }

    const QString& title() const { return title_; }
    void setTitle(const QString& title);

    // The menu

    void removeAllItems();
    void addItem(const LarimoDropdownMenuitem& item);
    int selectedIndex() const { return currentIndex(); }

    /// Selects an entry; none if there is no such index. The title stays.
    void setSelectedIndex(int index);

    void showPopup() override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void choose(int index);

    int tag_ = 0;
    bool hasBorder_ = true;
    int menuWidth_ = 0;
    QPoint popUpPoint_;
    QAbstractItemDelegate* menuDelegate_ = nullptr;
    QString title_;
    LarimoDropdownBoxDelegate* delegate_ = nullptr;
};
