#pragma once

// The line protocol between the client's standard-method video link (DvrIpcClient) and the video
// viewer's IPC server, over a local socket. The client and the viewer both build on this file, so
// there is one encoder and one decoder.
//
// Every message is one line: UTF-8 text ending in "\n", fields separated by tab characters. A
// field escapes "\" as "\\", tab as "\t", line feed as "\n" and carriage return as "\r", so any
// text (a password with tabs, quotes or line breaks) survives. The first field is the verb.
//
//   client                                         viewer
//   HELLO <tab> 1                              ->
//                                              <-  HELLO <tab> 1               (or ERROR <tab> why)
//   SHOW-HISTORY <tab> address <tab> user <tab> password <tab> camera <tab> moment
//                                              ->
//                                              <-  OK                          (or ERROR <tab> why)
//   BYE                                        ->  the viewer closes the connection
//
// The HELLO exchange comes first and fixes the version (1 is the only one). The camera is a
// decimal 16-bit integer; the moment is local time as yyyy-mm-ddThh:nn:ss. A malformed line gets
// an ERROR answer and the connection carries on with the next line; a line longer than
// kMaxLineBytes ends the connection.

#include "vb/DateTime.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <cstdint>
#include <optional>
#include <variant>

namespace dvr::ipc {

inline constexpr int kVersion = 1;
inline constexpr qsizetype kMaxLineBytes = 64 * 1024;

inline constexpr QLatin1StringView kHello{"HELLO"};
inline constexpr QLatin1StringView kShowHistory{"SHOW-HISTORY"};
inline constexpr QLatin1StringView kBye{"BYE"};
inline constexpr QLatin1StringView kOk{"OK"};
inline constexpr QLatin1StringView kError{"ERROR"};

// "tillsight-viewer-<uid>": each user's client talks to that user's viewer.
QString defaultServerName();

QString escapeField(QStringView text);
// Empty when the text holds a lone "\" or an escape other than the four above.
std::optional<QString> unescapeField(QStringView text);

// One line with its "\n".
QByteArray encodeLine(const QStringList& fields);
// A line without its "\n": the unescaped fields, or empty when the line is not valid UTF-8 or a
// field has a bad escape.
std::optional<QStringList> decodeLine(QByteArrayView line);

// Takes the first complete line (without its "\n") off the front of buffer.
std::optional<QByteArray> takeLine(QByteArray& buffer);

// yyyy-mm-ddThh:nn:ss, and back; parseMoment refuses impossible dates and times.
QString formatMoment(const vb::DateParts& moment);
std::optional<vb::DateParts> parseMoment(QStringView text);

struct HistoryRequest {
    QString dvrAddress;
    QString userName;
    QString password;
    std::int16_t camera = 0;
    vb::DateParts moment;
};

struct Hello {
    int version = 0;
};
struct Bye {};
// A line that is not a request, with the reason the viewer answers.
struct Malformed {
    QString reason;
};
using Request = std::variant<Hello, HistoryRequest, Bye, Malformed>;

QByteArray encodeHello();
QByteArray encodeShowHistory(const HistoryRequest& request);
QByteArray encodeBye();
Request parseRequest(QByteArrayView line);

QByteArray encodeOk();
QByteArray encodeError(const QString& reason);
// True when the line is the viewer's HELLO for our version.
bool isHelloReply(QByteArrayView line);

} // namespace dvr::ipc
