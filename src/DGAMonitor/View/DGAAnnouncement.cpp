#include "DGAMonitor/View/DGAAnnouncement.h"

#include <QAccessibleWidget>

namespace {

QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
    auto* const announcement = qobject_cast<DGAAnnouncement*>(object);
    return announcement ? new QAccessibleWidget(announcement, QAccessible::AlertMessage) : nullptr;
}

}  // namespace

DGAAnnouncement::DGAAnnouncement(QWidget* parent) : QWidget(parent) {
    QAccessible::installFactory(makeAccessible);  // once, however often
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGeometry(0, 0, 1, 1);
}

// Screen readers speak an alert when it comes to be shown.
void DGAAnnouncement::say(const QString& text) {
    if (text == accessibleName())
        return;
    setAccessibleName(text);
    QAccessibleEvent shown(this, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
}
