#pragma once

#include <QFont>
#include <QString>
#include <cstdint>
#include <initializer_list>
#include <string_view>

class QFontMetrics;

// What the upload window says, in the client's language, and how it is set.

/// The text of a key with its places filled.
QString uploadText(const char* key, std::initializer_list<std::string_view> values);

/// "3.1 of 12 MB, about 20 s left": bytes, and seconds, 0 if they are not known.
QString uploadTransferText(int64_t sent, int64_t total, int64_t secondsLeft);

QFont uploadFont(int size, bool bold);

/// Labels break lines between words only: lets one that is longer than a line, such as an address, break
/// anywhere.
QString uploadBreakable(const QString& text, const QFontMetrics& metrics);
