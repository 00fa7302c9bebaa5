#include "DGAMonitor/View/DGAFrozeWindowController.h"

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAStyle.h"
#include "DGAMonitor/View/DGAText.h"
#include "ui_DGAFrozeWindowController.h"

DGAFrozeWindowController::DGAFrozeWindowController() : ui_(std::make_unique<Ui::DGAFrozeWindowController>()) {
    ui_->setupUi(&window());
    windowDidLoad();
}

DGAFrozeWindowController::~DGAFrozeWindowController() = default;

void DGAFrozeWindowController::windowDidLoad() {
    setUI();
    windowTextLocalization();
    QObject::connect(ui_->quitSendBtn, &QAbstractButton::clicked, context(), [this] { quitAndSend(); });
    QObject::connect(ui_->waitBtn, &QAbstractButton::clicked, context(), [this] { wait(); });
    QObject::connect(ui_->closeBtn, &QAbstractButton::clicked, context(), [this] { closeBtnClicked(); });
    QObject::connect(&window(), &DGAWindowBase::closeRequested, context(), [this] { closeBtnClicked(); });
}

void DGAFrozeWindowController::setUI() {
    ui_->titleLab->setFont(DGAStyle::systemFont(DGAStyle::kTitleFontSize, true));
    ui_->quitSendBtn->setButtonType(2);
    ui_->waitBtn->setButtonType(0);
    ui_->closeBtn->setIconName(QStringLiteral("close"));
    // Who is typing when the prompt comes up must not end the client with the next blank.
    ui_->waitBtn->setFocus();
    window().setDrawnFrame(*ui_->titleLab, *ui_->closeBtn);
}

void DGAFrozeWindowController::windowTextLocalization() {
    ui_->titleLab->setText(dgaText(lDGAFrozeWindowTitleStr));
    ui_->msgLab->setText(dgaText(lDGAFrozeWindowMsgStr));
    ui_->quitSendBtn->setText(dgaText(lDGAFrozeWindowLeftBtnTitleStr));
    ui_->waitBtn->setText(dgaText(lDGAFrozeWindowRightBtnTitleStr));
    ui_->closeBtn->setAccessibleName(dgaText(kTextCloseButtonSendReport));
    window().setWindowTitle(ui_->titleLab->text());
    window().setAccessibleDescription(ui_->msgLab->text());
}

void DGAFrozeWindowController::invokeDelegateWithIndex(int index) {
    if (const auto delegate = delegate_.lock())
        delegate->frozeWindowButtonDidClickWithIndex(index);
}
