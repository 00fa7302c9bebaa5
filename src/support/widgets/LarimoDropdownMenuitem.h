#pragma once

#include <QString>

/// An entry of a drop-down box.
class LarimoDropdownMenuitem {
public:
    /// An entry that can be chosen.
    static LarimoDropdownMenuitem normalItemWithTitle(const QString& title) {
        return LarimoDropdownMenuitem(title);
    }

    const QString& title() const { return title_; }

private:
    explicit LarimoDropdownMenuitem(QString title) : title_(std::move(title)) {}

    QString title_;
};
