#pragma once

/// What the user did, under the number by which telemetry counts it.
enum class DGATelemetryAction : int {
    saveReport = 2601,    ///< "Save" of the problem reporting window
    sendMail = 2602,      ///< "Send Mail"
    cancelReport = 2603,  ///< "Cancel" of the problem reporting window
    quitAndSend = 2605,   ///< the prompt's "Quit and Send Problem Report"
    wait = 2606,          ///< the prompt's "Wait"
    sendReport = 2607,    ///< "Send Report" and, by the same number, "OK" of the upload window
    uploadDone = 2607,
    uploadCancel = 2608,  ///< "Cancel" and the close button of the upload window
};
