#pragma once

// The texts that a user sees: each is at once the English wording and the key of the string tables.

inline constexpr char lDGAFrozeWindowTitleStr[] = "Tellan Orvane Meetings Problem Reporting";
inline constexpr char lDGAFrozeWindowMsgStr[] = "Tellan Orvane Meetings is not responding.";
inline constexpr char lDGAFrozeWindowLeftBtnTitleStr[] = "Quit and Send Problem Report";
inline constexpr char lDGAFrozeWindowRightBtnTitleStr[] = "Wait";
inline constexpr char lDGAProblemReportWindowTitleStr[] = "Report Problem";
inline constexpr char lDGAProblemReportWindowSaveBtnStr[] = "Save";
inline constexpr char lDGAProblemReportWindowSendBtnStr[] = "Send Report";
inline constexpr char lDGAProblemReportWindowMsgStr[] =
    "Your log report has been generated. Do you want to send it now or save it for later?";
inline constexpr char lDGAReportMailTitleStr[] =
    "Problem report: Tellan Orvane Meetings for Mac (version %@)";
inline constexpr char lDGAReportMailBodyStr[] =
    "If a support representative asks you to send a log file, enter information about "
    "your problem here, and then send this email message with the attached log files to "
    "the support email address you have been given.";
inline constexpr char lDGAFullNameStr[] = "Tellan Orvane Meetings";
inline constexpr char lDGANoFilePermissionStr[] = "You don't have permission to save this file!";
inline constexpr char lDGAOKStr[] = "OK";
inline constexpr char lDGACancelStr[] = "Cancel";
inline constexpr char lDGARPWindowTitleStr[] = "Tellan Orvane Meetings Problem Reporting";
inline constexpr char lDGARPWindowMsg1Str[] =
    "Help us resolve your problem. Create a report that contains a Tellan Orvane log "
    "file. The report is confidential and anonymous.";
inline constexpr char lDGARPWindowMsg2Str[] =
    "By sending this report, you are allowing Orvane to use this information and log "
    "file for troubleshooting your meeting.";
inline constexpr char lDGARPWindowTFPlaceholderStr[] = "Enter problem description (Required)";
inline constexpr char lDGARPWindowFullScreenStr[] = "Include full screen capture";
inline constexpr char lDGARPWindowSystemStr[] = "Include system and Orvane-related information";
inline constexpr char lDGARPWindowSendMailStr[] = "Send Mail";
inline constexpr char lDGARPWindowInfoStr[] =
    "The Orvane Meetings-related and system information in the problem report includes "
    "computer information, browser information, installed software information, Orvane "
    "Meetings application information, Orvane Meetings parameter information, a Orvane "
    "Meetings trace file, and a Orvane Meetings memory dump file.";
inline constexpr char kTextSaveReportButtonSendReport[] = "Save Report";
inline constexpr char kTextCloseButtonSendReport[] = "Close";
inline constexpr char kTextTryAgain[] = "Try again";
inline constexpr char kTextPareparingReport[] = "Preparing report...";
inline constexpr char kTextReportPareparedSendReport[] = "Report prepared";
inline constexpr char kTextReportPareparedFailed[] = "Report prepared failed";
inline constexpr char kTextConnectingToServer[] = "Connecting to server...";
inline constexpr char kTextConnectedToServer[] = "Connected to server";
inline constexpr char kTextCannotConnectToServer[] = "Can't connect to server.";
inline constexpr char kTextSentToServerTimeOut[] = "Can't send report because the connection has timed out.";
inline constexpr char kTextFileSizeExcessiveAlert[] =
    "We can't submit your report because the file size is too large.";
inline constexpr char kTextFileSizeExcessiveInfo[] =
    "We can't upload your problem report because it exceeds 25 MB. You can still save "
    "your report to your local computer and then contact your administrator or support "
    "representative for assistance, if needed.";
inline constexpr char kTextUploadingReport[] = "Uploading report... (%d%%)";
inline constexpr char kTextUploadingSent[] = "Uploading sent";
inline constexpr char kTextEmailConfirmationSendReport[] = "Problem tracking email confirmation sent to %@.";
inline constexpr char kTextReportSendSentReport[] = "Your problem report has been sent.";
inline constexpr char kTextCannotSend3Times[] =
    "We can't submit your report because you've already submitted 3 reports for this "
    "meeting.";
inline constexpr char kTextWarningMessageSendReport[] =
    "We could not send your Problem Report. You can save the report and try to send it "
    "again later.";
inline constexpr char lDGADropListAlertTitle[] = "What does the problem occur?";
inline constexpr char lDGADropListNotResponding[] = "Tellan Orvane is not responding";
inline constexpr char lDGADropListScheduling[] = "Scheduling";
inline constexpr char lDGADropListJoining[] = "Joining";
inline constexpr char lDGADropListAudio[] = "Audio";
inline constexpr char lDGADropListVideo[] = "Video";
inline constexpr char lDGADropListSharing[] = "Content Sharing";
inline constexpr char lDGADropListRecording[] = "Recording";
inline constexpr char lDGADropListOther[] = "Other";
inline constexpr char lDGADropListChooseType[] = "-- Choose a problem type --";
inline constexpr char lDGADropListSchedule[] = "Scheduling in calendar application";
inline constexpr char lDGADropListDevice[] = "Device connection and controls";
inline constexpr char lDGADropListMeeting[] = "Meeting list";
