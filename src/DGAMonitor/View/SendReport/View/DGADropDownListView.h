#pragma once

#include <QStringList>
#include <QWidget>

#include "support/widgets/LarimoDropdownBox.h"

class DGADropDownListView;

/// Told which entry was chosen.
class DGADropDownListViewDelegate {
public:
    virtual ~DGADropDownListViewDelegate() = default;
    virtual void dropDownListDidSelect(DGADropDownListView& listView, const QString& categoryTitle) = 0;
};

/// A drop-down list with a default title, which is shown until another entry is chosen.
class DGADropDownListView final : public QWidget, public LarimoDropdownBoxDelegate {
    Q_OBJECT

public:
    explicit DGADropDownListView(QWidget* parent = nullptr);
    ~DGADropDownListView() override;

    /// Once, after titles and delegate were set.
    void prepared();

    const QString& defautTitle() const { return defautTitle_; }
    void setDefautTitle(const QString& title) { defautTitle_ = title; }
    const QStringList& listTitleArr() const { return listTitleArr_; }
    /// A menu that is built already gets the new entries at once; the box keeps the title that it shows.
    void setListTitleArr(const QStringList& titles);

    /// Where the entry equal to the default title lay when the box was last built; as it was before if there
    /// was none.
    unsigned seletedIndex() const { return seletedIndex_; }

    /// Held weakly: the delegate takes itself away if it ends first.
    void setDelegate(DGADropDownListViewDelegate* delegate) { delegate_ = delegate; }

    /// Tells the delegate of the first entry, then shows and selects the default title.
    void clearStatus();

    /// Builds the box anew and tells the delegate of the entry at `index`.
    void refreshComboBoxWithIndex(int index);

    void onSelectedIndexChanged(int index) override;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void initializeStyle();
    void addComboBox();
    LarimoDropdownBox* box() const;
    void fillMenu(LarimoDropdownBox& combo) const;
    void placeBox();

    QString defautTitle_;
    QStringList listTitleArr_;
    unsigned seletedIndex_ = 0;
    DGADropDownListViewDelegate* delegate_ = nullptr;
};
