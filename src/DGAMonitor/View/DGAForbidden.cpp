#include "DGAMonitor/View/DGAForbidden.h"

#include <QWidget>

#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAText.h"

void dgaForbid(QWidget& control) {
    control.setEnabled(false);
    control.setToolTip(dgaText(kTextAdministratorForbids));
    control.setAccessibleDescription(dgaText(kTextAdministratorForbids));
}

void dgaAllow(QWidget& control) {
    control.setEnabled(true);
    control.setToolTip({});
    control.setAccessibleDescription({});
}
