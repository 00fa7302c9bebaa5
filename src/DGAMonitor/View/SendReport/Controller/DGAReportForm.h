#pragma once

#include <cstdint>

class QWidget;
namespace Ui {
class DGAProblemReportingWindowController;
}

// How the controls of the problem reporting window look, what they say, and in which order the keyboard
// reaches them. Main thread.

/// Once, when the controls were made.
void dgaSetUpReportForm(Ui::DGAProblemReportingWindowController& form);

/// The texts in the language that the client tells now, and the controls that a session of this kind has. At
/// each opening.
void dgaLabelReportForm(Ui::DGAProblemReportingWindowController& form, QWidget& window, bool sends,
                        int64_t serviceType);

/// What belongs to the description as it is now: the words in its place while there is none, and near the
/// limit the number of characters that are left.
void dgaShowDescription(Ui::DGAProblemReportingWindowController& form);

/// How many characters the description may still have; negative where it is too long. It travels with every
/// piece of an upload.
int dgaCharactersLeft(const Ui::DGAProblemReportingWindowController& form);

/// Whether a report is being made.
void dgaShowBusy(Ui::DGAProblemReportingWindowController& form, bool busy);
