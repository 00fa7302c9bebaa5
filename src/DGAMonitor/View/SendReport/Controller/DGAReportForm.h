#pragma once

#include <cstdint>

class DGAPolicy;
class QWidget;
namespace Ui {
class DGAProblemReportingWindowController;
}

// How the controls of the problem reporting window look, what they say, and in which order the keyboard
// reaches them. Main thread.

/// Once, when the controls were made.
void dgaSetUpReportForm(Ui::DGAProblemReportingWindowController& form);

/// Which of the controls the administrator's policy leaves.
struct DGAReportFormRights {
    bool screenCapture = true;
    bool systemProfile = true;
    bool send = true;  ///< or mail, where that is what the button does
    bool save = true;
};

/// Of a session that sends reports, or of one that mails them.
DGAReportFormRights dgaReportFormRights(const DGAPolicy& policy, bool sends);

/// The texts in the language that the client tells now, and the controls that a session of this kind has. At
/// each opening.
void dgaLabelReportForm(Ui::DGAProblemReportingWindowController& form, QWidget& window, bool sends,
                        int64_t serviceType);

/// What is forbidden is not chosen, cannot be, and says why. After the above, and whenever the controls were
/// set anew.
void dgaForbidInReportForm(Ui::DGAProblemReportingWindowController& form, const DGAReportFormRights& rights);

/// What belongs to the description as it is now: the words in its place while there is none, and near the
/// limit the number of characters that are left.
void dgaShowDescription(Ui::DGAProblemReportingWindowController& form);

/// How many characters the description may still have; negative where it is too long. It travels with every
/// piece of an upload.
int dgaCharactersLeft(const Ui::DGAProblemReportingWindowController& form);

/// Whether a report is being made.
void dgaShowBusy(Ui::DGAProblemReportingWindowController& form, bool busy);
