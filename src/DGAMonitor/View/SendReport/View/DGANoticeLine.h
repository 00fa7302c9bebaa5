#pragma once

#include <QWidget>
#include <array>
#include <functional>
#include <vector>

class DGAAnnouncement;
class DGAButton;
class QLabel;

/// A line on a light ground that says what has happened and offers what can be done about it. Hidden until
/// there is something to say; screen readers tell it at once.
class DGANoticeLine final : public QWidget {
    Q_OBJECT

public:
    struct Action {
        QString title;
        std::function<void()> act;
        QString description = {};  ///< what the title does not tell; "" if it tells all
        bool isForbidden = false;  ///< by the administrator's policy: shown, and says so
    };

    explicit DGANoticeLine(QWidget* parent = nullptr);

    /// At most three actions. It stays until clear() or other words.
    void say(const QString& text, const std::vector<Action>& actions);
    void clear();

    /// Whether its buttons may be used; those that are forbidden never.
    void setActionsEnabled(bool enabled);

    QString text() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* label_;
    DGAAnnouncement* announcement_;
    std::array<DGAButton*, 3> buttons_;
    std::vector<Action> actions_;
};
