#pragma once

#include <memory>

#include "DGAMonitor/View/DGAFrozeWindow.h"
#include "DGAMonitor/View/DGAWindowController.h"
#include "DGAMonitor/Windows/DGAWindowInterfaces.h"

namespace Ui {
class DGAFrozeWindowController;
}

/// The prompt that tells that the client is not responding and asks whether to quit it and send a report, or
/// to wait. Tells its delegate the answer, which closes it.
class DGAFrozeWindowController final : public DGAWindowController<DGAFrozeWindowInterface, DGAFrozeWindow> {
public:
    DGAFrozeWindowController();
    ~DGAFrozeWindowController() override;

    void setDelegate(std::weak_ptr<DGAFrozeWindowDelegate> delegate) { delegate_ = std::move(delegate); }

    void setLevel(int level) override { window().setLevel(level); }
    void show() override { window().showInFront(); }

private:
    void windowDidLoad();
    void setUI();
    void windowTextLocalization();

    void quitAndSend() { invokeDelegateWithIndex(0); }
    void wait() { invokeDelegateWithIndex(1); }
    void closeBtnClicked() { invokeDelegateWithIndex(1); }
    void invokeDelegateWithIndex(int index);

    std::unique_ptr<Ui::DGAFrozeWindowController> ui_;
    std::weak_ptr<DGAFrozeWindowDelegate> delegate_;
};
