#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class DGASavePanel;
class QFileDialog;

namespace platform {
class SaveDialogPortal;
}

/// Asked before the panel takes the user's choice.
class DGASavePanelDelegate {
public:
    virtual ~DGASavePanelDelegate() = default;

    /// Whether the panel may close with this file. Where a file of that name is there, the user has agreed to
    /// replace it. `error` may say why not, for the user.
    virtual bool panel(DGASavePanel& panel, const std::optional<std::string>& validateURL,
                       std::string* error) = 0;
};

/// Asks where to save a file: by the desktop's own dialog (its portal's, or that of the toolkit's theme for
/// it), else by one of the toolkit, over the window, as a window-modal panel. It deletes itself when it is
/// done, and ends with its window.
class DGASavePanel final : public QObject {
    Q_OBJECT

public:
    static constexpr int kCancelled = 0;
    static constexpr int kChosen = 1;

    /// Opens the panel and returns at once. `name` is the suggested name, with or without an ending; a name
    /// that the user leaves without one of the allowed endings gets the first of them. The delegate, if any,
    /// outlives the panel or is taken away. `handler`, if any, is told kCancelled or kChosen once, and
    /// nothing if the window ends first.
    static DGASavePanel* dga_showSavePanelWithName(const std::string& name,
                                                   const std::vector<std::string>& allowedFileTypes,
                                                   QWidget* modelWindow, DGASavePanelDelegate* delegate,
                                                   std::function<void(int result)> handler);

    /// Where a file of that name goes that nobody was asked about: a path that is free, in the folder in
    /// which the panel begins.
    static std::string freePathFor(const std::string& name);

    ~DGASavePanel() override;

    void setDelegate(DGASavePanelDelegate* delegate) { delegate_ = delegate; }

    /// Takes it away, as if the user had cancelled it.
    void reject() { end(kCancelled); }

private:
    explicit DGASavePanel(QWidget* window);
    void ask();
    void openDialog();
    void judge(const QString& chosen, bool isAsked);
    void tell(const QString& text);
    void askAgain();
    QString withAllowedEnding(const QString& path) const;
    void confirmReplacing(const QString& path);
    void take(const QString& path);
    void end(int result);
    QWidget* asker() const;

    QWidget* window_;
    QString name_;
    QStringList endings_;
    DGASavePanelDelegate* delegate_ = nullptr;
    std::function<void(int result)> handler_;
    std::unique_ptr<platform::SaveDialogPortal> portal_;
    QPointer<QFileDialog> dialog_;
    bool ended_ = false;
};
