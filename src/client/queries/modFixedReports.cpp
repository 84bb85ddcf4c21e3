#include "client/queries/modFixedReports.h"

#include "vb/Strings.h"

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace queries {

namespace {

QString text(const char16_t* constant) {
    return QString::fromUtf16(constant);
}

QString selected(const char16_t* expression, const char16_t* heading) {
    return text(expression) + u" as ["_s + text(heading) + u"]"_s;
}

} // namespace

QString fncTempTableName(std::int16_t session) {
    return u"tblTemp"_s + QString::number(session);
}

QString fncExpandPlaceholders(const QString& sql, bool criticalOnly, const QString& interval,
                              std::int16_t session) {
    // Each pass sees the text the passes before it left, so the order is part of the contract:
    // an interval criterion is expanded further by "<Critical>" and "<tblname>", never by the
    // column placeholders, on every site alike.
    const std::array<std::pair<const char16_t*, QString>, 13> replacements{{
        {u"<SelAction>", selected(kActionLabel, u"Code")},
        {u"<AggAction>", text(kActionLabel)},
        {u"<SelClk>", selected(kClerkLabel, u"Clerk")},
        {u"<AggClk>", text(kClerkLabel)},
        {u"<Selreg>", selected(kRegister, u"Register")},
        {u"<Aggreg>", text(kRegister)},
        {u"<SelDate>", selected(kTransDate, u"Date")},
        {u"<AggDate>", text(kTransDate)},
        {u"<SelTime>", selected(kTransTime, u"Time")},
        {u"<AggTime>", text(kTransTime)},
        {u"<Interval>", interval},
        {u"<Critical>", criticalOnly ? text(kCriticalOnly) : u"TRUE"_s},
        {u"<tblname>", fncTempTableName(session)},
    }};
    QString expanded = sql;
    for (const auto& [placeholder, replacement] : replacements)
        expanded = vb::fncReplace(std::move(expanded), text(placeholder), replacement);
    return expanded;
}

} // namespace queries
