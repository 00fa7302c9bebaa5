#pragma once

// The texts that a user sees: the keys of the string tables, the English one included, which may word them
// better, and what is shown where there is no table.

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
inline constexpr char kTextTryAgain[] = "Try Again";
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
inline constexpr char kTextAdministratorForbids[] = "Your administrator does not allow this.";
inline constexpr char kTextSeeWhatIsSent[] = "See What Is Sent";
inline constexpr char kTextRetake[] = "Retake";
inline constexpr char kTextEnlarge[] = "Enlarge";
inline constexpr char kTextFilesSentTo[] = "These files will be sent to %@:";
inline constexpr char kTextFilesInReport[] = "These files are in the report:";
inline constexpr char kTextDetailsSent[] = "Your details that go with it:";
inline constexpr char kTextDetailName[] = "Name: %@";
inline constexpr char kTextDetailEmail[] = "Email: %@";
inline constexpr char kTextDetailMeeting[] = "Meeting: %@";
inline constexpr char kTextFileScreenCapture[] = "Screen capture";
inline constexpr char kTextFileMeetingLog[] = "Meeting program log";
inline constexpr char kTextFileTrace[] = "Meeting quality trace";
inline constexpr char kTextFileParameters[] = "Meeting parameters";
inline constexpr char kTextFileSystemProfile[] = "System information";
inline constexpr char kTextFileCrashReport[] = "Crash report";
inline constexpr char kTextFileAssistantLog[] = "Assistant log";
inline constexpr char kTextFileOtherLogs[] = "Other log files";
inline constexpr char kTextFileDescription[] = "Problem description";
inline constexpr char kTextFileSummary[] = "Report summary (always included)";
inline constexpr char kTextFileNotShown[] = "This file can't be shown.";
inline constexpr char kTextCapturePermission[] =
    "Your desktop is asking for permission to capture the screen.";
inline constexpr char kTextNoScreenCapture[] = "The report has no screen capture.";
inline constexpr char kTextDescribeFirst[] = "Describe the problem first.";
inline constexpr char kTextChooseTypeFirst[] = "Choose a problem type first.";
inline constexpr char kTextCharactersLeft[] = "Characters left: %d";
inline constexpr char kTextDescriptionTooLong[] =
    "The description is too long. Characters over the limit: %d.";
inline constexpr char kTextCloseWithoutSending[] =
    "Close without sending? What you wrote is kept until the meeting program ends.";
inline constexpr char kTextKeepWriting[] = "Keep Writing";
inline constexpr char kTextReportNotSent[] = "A report from %@ has not been sent.";
inline constexpr char kTextSend[] = "Send";
inline constexpr char kTextDiscard[] = "Discard";
inline constexpr char kTextDiscardReport[] = "Discard this report?";
inline constexpr char kTextReportSaved[] = "The report was saved as %@.";
inline constexpr char kTextReportNotSaved[] = "The report could not be saved. %@";
inline constexpr char kTextDiskFull[] = "The disk is full.";
inline constexpr char kTextReportGone[] = "The report is no longer there.";
inline constexpr char kTextNoMailProgram[] = "No email program is set up. The report was saved as %@.";
inline constexpr char kTextShowInFolder[] = "Show in Folder";
inline constexpr char kTextUploadRunning[] = "The upload is still running. Stop it?";
inline constexpr char kTextStopUploading[] = "Stop Uploading";
inline constexpr char kTextKeepUploading[] = "Keep Uploading";
inline constexpr char kTextUploadedOf[] = "%@ of %@";
inline constexpr char kTextUploadedOfTimeLeft[] = "%@ of %@, about %@ left";
inline constexpr char kTextKilobytes[] = "%@ kB";
inline constexpr char kTextMegabytes[] = "%@ MB";
inline constexpr char kTextSeconds[] = "%@ s";
inline constexpr char kTextMinutes[] = "%@ min";
inline constexpr char kTextCertificateInvalid[] = "The server's certificate can't be verified.";
inline constexpr char kTextReportNumber[] = "Report number: %@";
inline constexpr char kTextCopy[] = "Copy";
inline constexpr char kTextCopied[] = "Copied";
