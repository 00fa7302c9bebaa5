#pragma once

// Keys of the session parameters that the client sends, and of what it is told. The spelling of
// "enableTelementry", "enableAccompnyDGA" and "smacTimestap" is the client's.

inline constexpr char dDGAJsonDataKey[] = "DgaJsonData";
inline constexpr char dActivationTokenKey[] = "activationToken";

// Of what the assistant tells the client.
inline constexpr char dProtocolKey[] = "protocol";
inline constexpr char dVersionKey[] = "version";
inline constexpr char dReportNumberKey[] = "number";
inline constexpr char dReportStateKey[] = "state";
inline constexpr char dReportReasonKey[] = "reason";

inline constexpr char dDGAServiceTypeKey[] = "serviceType";
inline constexpr char dDGASignInStatusKey[] = "signInStatus";
inline constexpr char dDGAProcessIDKey[] = "processID";
inline constexpr char dDGAActiveLanguageKey[] = "activeLanguage";
inline constexpr char dDGAClientVersionKey[] = "clientVersion";
inline constexpr char dDGAEnableSendProblemReportKey[] = "enableSendProblemReport";
inline constexpr char dDGAEnableTelemetryKey[] = "enableTelementry";
inline constexpr char dDGAEnableAccompanyKey[] = "enableAccompnyDGA";
inline constexpr char dDGATelemetrySessionIDKey[] = "telemetrySessionID";
inline constexpr char dDGATelemetryMetricsURLKey[] = "telemetryMetricsURL";
inline constexpr char dDGATelemetryHttpHeadersKey[] = "telemetryHttpHeaders";
inline constexpr char dDGAConfIDKey[] = "confId";
inline constexpr char dDGAUploadURLKey[] = "uploadURL";
inline constexpr char dDGASmacKey[] = "smac";
inline constexpr char dDGAConfNameKey[] = "confName";
inline constexpr char dDGAUserIDKey[] = "UserID";
inline constexpr char dDGASiteIDKey[] = "siteID";
inline constexpr char dDGASiteURLKey[] = "siteURL";
inline constexpr char dDGAUserNameKey[] = "userName";
inline constexpr char dDGAMeetingKeyKey[] = "meetingKey";
inline constexpr char dDGASmacTimestampKey[] = "smacTimestap";
inline constexpr char dDGAUserEmailKey[] = "userEmail";
inline constexpr char dDGALogFileNameKey[] = "logFileName";
