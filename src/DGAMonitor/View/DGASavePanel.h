#pragma once

#include <QFileDialog>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class DGASavePanel;

/// Asked before the panel takes the user's choice.
class DGASavePanelDelegate {
public:
    virtual ~DGASavePanelDelegate() = default;

    /// Whether the panel may close with this file. Where a file of that name is there, the user has agreed to
    /// replace it. `error` may say why not, for the user.
    virtual bool panel(DGASavePanel& panel, const std::optional<std::string>& validateURL,
                       std::string* error) = 0;
};

/// Asks where to save a file, as a window-modal panel. It deletes itself when it is done, and ends with its
/// window.
class DGASavePanel final : public QFileDialog {
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

    void setDelegate(DGASavePanelDelegate* delegate) { delegate_ = delegate; }

    void accept() override;

private:
    explicit DGASavePanel(QWidget* window);
    void arrange();
    QString withAllowedEnding(const QString& path) const;
    void confirmReplacing(const QString& path);
    void take(const QString& path);

    QStringList endings_;
    DGASavePanelDelegate* delegate_ = nullptr;
};
