#pragma once

class QWidget;

// What the administrator's policy forbids is not hidden. Main thread.

/// Disables a control, and has it say why: in its tool tip, and to screen readers.
void dgaForbid(QWidget& control);

/// The opposite, for a control that is labelled anew.
void dgaAllow(QWidget& control);
