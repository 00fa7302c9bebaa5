#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// Settings and names that several parts of the assistant share.

/// The folder of everything the assistant collects: trace folders, archives, temporary files.
inline constexpr char kDGATempStorePath[] = "/tmp/orvdga";

inline constexpr char kDGASPXFileName[] = "orvdga_system_profile.spx";
inline constexpr char kDGAZipLogDateFormat[] = "yyyyMMdd_HHmmss";
inline constexpr char kDGALogFileNamePrefix[] = "orvdga_log_";

/// The folders of runs, each with its trace: what they begin with tells the cleaner what they are.
inline constexpr char kDGATraceFolderPrefix[] = "orvanedga_meeting_";
/// Of the desktop tools' runs, and of the archives made of them.
inline constexpr char kDGAKTRunPrefix[] = "orvanedga_orvaneapp_";

// Logs of the desktop tools, in folders below the user's Library folder, and the archives made of them.
inline constexpr char kDGAKTStorePath[] = "/Logs/KT";
inline constexpr char kDGAKTPluginStorePath[] = "/Containers/com.microsoft.Outlook/Data/Library/Logs/KT";
inline constexpr char kDGAKTCrashStorePath[] = "/Logs/DiagnosticReports";
inline constexpr char kDGAKTZipLogFile[] = "OrvaneAppLog";
inline constexpr char kDGAKTPluginZipLogFile[] = "OrvaneOLPluginLog";
inline constexpr char kDGAKTAllinOneZipLogFile[] = "orvanedga_orvaneapp";  ///< kDGAKTRunPrefix, without "_"
inline constexpr char kDGAKTCrashLogPrefix[] = "Tellan Orvane Meetings_";

/// More archives of a service than this, or more trace folders, are too many.
inline constexpr double kMaxZipLogFileCount = 30.0;
inline constexpr double kMaxHVTempLogFileCount = 5.0;
inline constexpr char kOrvdgaTopicName[] = "orvdga_topic.txt";

/// Service types that the client sends as "serviceType".
inline constexpr int kDGAServiceTypeHV = 1;
inline constexpr int kDGAServiceTypeKT = 10;
/// From this number on a service type is unknown and taken as the meeting service.
inline constexpr int kDGAServiceTypeEnd = 12;

/// Seconds: a client that is silent for longer is frozen, and one whose process id does not come is absent.
inline constexpr double kDGAFrozeTimeInterval = 180.0;
inline constexpr double kDGANoClientPIDTimeout = 30.0;
/// How often the user is asked about a frozen client.
inline constexpr int kDGAMaxFrozenPrompts = 2;

/// Forms of a tracking id: one of the meeting service, and the one that DGAUtilities::createUUID makes.
inline constexpr char kDGATrackIDPatternDocShow[] = "^[0-9A-Z]{32}_[0-9A-Z]{13}\\z";
inline constexpr char kDGATrackIDPatternClientGen[] =
    "^[0-9A-Z]{8}-[0-9A-Z]{4}-[0-9A-Z]{4}-[0-9A-Z]{4}-[0-9A-Z]{12}\\z";

// Base names of the notifications between the client and the assistant; the full name ends in an
// underscore and the assistant's process id.
inline constexpr std::string_view kDGANotificationPassingJsonData = "ORVANE_DGA_PASSING_JSON_DATA";
inline constexpr std::string_view kDGANotificationGenerateReportAndExit =
    "ORVANE_DGA_GENERATE_REPORT_AND_EXIT";
inline constexpr std::string_view kDGANotificationKeepAlive = "ORVANE_DGA_KEEP_ALIVE";
inline constexpr std::string_view kDGANotificationGenerateReport = "ORVANE_DGA_GENERATE_REPORT";
inline constexpr std::string_view kDGANotificationAppExit = "ORVANE_DGA_APP_EXIT";
inline constexpr std::string_view kDGANotificationAppReady = "ORVANE_DGA_APP_READY";
inline constexpr std::string_view kDGANotificationReportResult = "ORVANE_DGA_REPORT_RESULT";

/// The version of the client protocol, which the ready notification tells.
inline constexpr int32_t kDGAProtocol = 2;

/// Those from the client in the order of their ids on the message port, where a client without a bus sends
/// them, and the first id.
inline constexpr std::array kDGAPortNotifications = {
    kDGANotificationPassingJsonData, kDGANotificationKeepAlive, kDGANotificationGenerateReport,
    kDGANotificationGenerateReportAndExit, kDGANotificationAppExit};
inline constexpr int32_t kDGAFirstPortNotificationID = 0x4F564401;
/// And those to such a client.
inline constexpr int32_t kDGAPortReadyID = 0x4F564481;
inline constexpr int32_t kDGAPortReportResultID = 0x4F564482;
