#pragma once

// How the files are named that go into a problem report.

inline constexpr char OrvMeetingLogExtension[] = "ovt";
inline constexpr char OrvMeetingLogPrefix[] = "orvtra_";

inline constexpr char OrvGpcLogName[] = "orvgpc.ovt";
inline constexpr char OrvGpcLogKeyword[] = "gpc";

// Also of the logs of the applet extension and of the assistant.
inline constexpr char OrvChromeGpcLogExtension[] = "ovt";
inline constexpr char OrvChromeGpcLogPrefix[] = "orvtra_";
inline constexpr char OrvCWSLogKeyword[] = "cws";
inline constexpr char OrvAppextLogKeywork[] = "appext";
inline constexpr char OrvDGALogKeyword[] = "dga";

inline constexpr char OrvMeetingCrashLogExtension[] = "crash";
inline constexpr char OrvMeetingCrashLogPrefix[] = "Convexa";
