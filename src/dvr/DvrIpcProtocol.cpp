#include "dvr/DvrIpcProtocol.h"

#include "vb/Strings.h"
#include <QDate>
#include <QRegularExpression>
#include <QStringDecoder>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace dvr::ipc {

namespace {

constexpr int kShowHistoryFields = 6;

std::optional<std::int16_t> parseCamera(const QString& text) {
    static const QRegularExpression shape(u"^-?[0-9]{1,5}$"_s);
    if (!shape.match(text).hasMatch()) return std::nullopt;
    bool ok = false;
    const short camera = text.toShort(&ok);
    if (!ok) return std::nullopt;
    return camera;
}

Request parseHello(const QStringList& fields) {
    bool ok = false;
    const int version = fields.size() == 2 ? fields[1].toInt(&ok) : 0;
    if (!ok) return Malformed{u"HELLO needs one field, the protocol version"_s};
    return Hello{version};
}

Request parseShowHistory(const QStringList& fields) {
    if (fields.size() != kShowHistoryFields)
        return Malformed{u"SHOW-HISTORY needs address, user, password, camera and moment"_s};
    const auto camera = parseCamera(fields[4]);
    if (!camera) return Malformed{u"the camera is not a 16-bit number: "_s + fields[4]};
    const auto moment = parseMoment(fields[5]);
    if (!moment) return Malformed{u"the moment is not yyyy-mm-ddThh:nn:ss: "_s + fields[5]};
    return HistoryRequest{fields[1], fields[2], fields[3], *camera, *moment};
}

} // namespace

QString defaultServerName() {
    return u"tillsight-viewer-"_s + QString::number(::getuid());
}

QString escapeField(QStringView text) {
    return vb::escapeLineField(text);
}

std::optional<QString> unescapeField(QStringView text) {
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\') {
            out += text[i];
            continue;
        }
        if (++i == text.size()) return std::nullopt;
        switch (text[i].unicode()) {
        case u'\\':
            out += u'\\';
            break;
        case u't':
            out += u'\t';
            break;
        case u'n':
            out += u'\n';
            break;
        case u'r':
            out += u'\r';
            break;
        default:
            return std::nullopt;
        }
    }
    return out;
}

QByteArray encodeLine(const QStringList& fields) {
    QStringList escaped;
    escaped.reserve(fields.size());
    for (const QString& field : fields)
        escaped << escapeField(field);
    return (escaped.join(u'\t') + u'\n').toUtf8();
}

std::optional<QStringList> decodeLine(QByteArrayView line) {
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(line);
    if (decoder.hasError()) return std::nullopt;
    QStringList fields;
    for (const QStringView raw : QStringView(text).split(u'\t')) {
        auto field = unescapeField(raw);
        if (!field) return std::nullopt;
        fields << *field;
    }
    return fields;
}

std::optional<QByteArray> takeLine(QByteArray& buffer) {
    const qsizetype end = buffer.indexOf('\n');
    if (end < 0) return std::nullopt;
    QByteArray line = buffer.left(end);
    buffer.remove(0, end + 1);
    return line;
}

QString formatMoment(const vb::DateParts& moment) {
    return u"%1-%2-%3T%4:%5:%6"_s.arg(moment.year, 4, 10, QChar(u'0'))
        .arg(moment.month, 2, 10, QChar(u'0'))
        .arg(moment.day, 2, 10, QChar(u'0'))
        .arg(moment.hour, 2, 10, QChar(u'0'))
        .arg(moment.minute, 2, 10, QChar(u'0'))
        .arg(moment.second, 2, 10, QChar(u'0'));
}

std::optional<vb::DateParts> parseMoment(QStringView text) {
    static const QRegularExpression shape(
        u"^([0-9]{4})-([0-9]{2})-([0-9]{2})T([0-9]{2}):([0-9]{2}):([0-9]{2})$"_s);
    const auto match = shape.match(text);
    if (!match.hasMatch()) return std::nullopt;
    const auto part = [&match](int n) { return match.capturedView(n).toInt(); };
    const vb::DateParts moment{part(1), part(2), part(3), part(4), part(5), part(6)};
    // Years before 100 are outside the client's calendar.
    if (moment.year < 100 || !QDate::isValid(moment.year, moment.month, moment.day))
        return std::nullopt;
    if (moment.hour > 23 || moment.minute > 59 || moment.second > 59) return std::nullopt;
    return moment;
}

QByteArray encodeHello() {
    return encodeLine({kHello, QString::number(kVersion)});
}

QByteArray encodeShowHistory(const HistoryRequest& request) {
    return encodeLine({kShowHistory, request.dvrAddress, request.userName, request.password,
                       QString::number(request.camera), formatMoment(request.moment)});
}

QByteArray encodeBye() {
    return encodeLine({kBye});
}

Request parseRequest(QByteArrayView line) {
    const auto fields = decodeLine(line);
    if (!fields) return Malformed{u"the line is not UTF-8 text with valid escapes"_s};
    const QString& verb = fields->front();
    if (verb == kHello) return parseHello(*fields);
    if (verb == kShowHistory) return parseShowHistory(*fields);
    if (verb == kBye && fields->size() == 1) return Bye{};
    return Malformed{u"unknown request: "_s + verb.left(40)};
}

QByteArray encodeOk() {
    return encodeLine({kOk});
}

QByteArray encodeError(const QString& reason) {
    return encodeLine({kError, reason});
}

bool isHelloReply(QByteArrayView line) {
    const auto fields = decodeLine(line);
    return fields && fields->size() == 2 && fields->at(0) == kHello &&
           fields->at(1) == QString::number(kVersion);
}

} // namespace dvr::ipc
