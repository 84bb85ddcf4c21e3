#include "core/modError.h"

#include "core/AppGlobals.h"
#include "core/Session.h"
#include "settings/modSites.h"
#include "sitelink/SiteLink.h"
#include "vb/DateTime.h"
#include "vb/Format.h"
#include "vb/Strings.h"

#include <QPointer>
#include <initializer_list>

using namespace Qt::Literals::StringLiterals;

namespace modError {

namespace {

// A fixed, unambiguous form that the site's dialect reads between # signs whatever the regional
// settings of this computer are.
const QString kLogTimePattern = u"yyyy/mm/dd hh:nn:ss"_s;

// One piece of the statement. A piece that fails is left out and the next one is tried: the
// logger must never fail its caller, who is already handling a failure.
template <typename Piece> void appendPiece(QString& text, Piece piece) {
    try {
        text += piece();
    } catch (...) {
    }
}

QString withoutQuotes(const QString& text) {
    return vb::fncReplace(text, u"'"_s, QString());
}

} // namespace

QString logInsertText(double moment, std::int32_t number, const QString& description,
                      const QString& source, const QString& appTitle, const QString& module,
                      const QString& routine) {
    QString text = u"INSERT INTO tblLog  (fldLogTime, fldLogErrNumber, fldLogDesc, fldLogSource,"
                   u" fldLogApp, fldLogModule, fldLogRoutine) VALUES "_s;
    appendPiece(text, [&] { return u"(#"_s + vb::formatDate(moment, kLogTimePattern) + u"#, "_s; });
    text += QString::number(number) + u", "_s;
    for (const QString* value : {&description, &source, &appTitle, &module})
        appendPiece(text, [&] { return u"'"_s + withoutQuotes(*value) + u"', "_s; });
    appendPiece(text, [&] { return u"'"_s + withoutQuotes(routine) + u"')"_s; });
    return text;
}

void subLogError(core::Session& session, std::int32_t number, const QString& description,
                 const QString& source, const QString& appTitle, const QString& module,
                 const QString& routine) {
    // A cancel is the user's own choice, not a failure of the site or the client.
    if (!gConnected || number == sitelink::kCanceled) return;
    try {
        session.TillsightLink().Execute(
            logInsertText(vb::now(), number, description, source, appTitle, module, routine));
    } catch (...) {
    }
}

void subLogError(core::Session& session, const vb::VbError& error, const QString& module,
                 const QString& routine) {
    const QString source = error.source().isEmpty() ? kErrorSource.toString() : error.source();
    subLogError(session, error.number(), error.description(), source, core::applicationTitle(),
                module, routine);
}

void installAsSettingsFailureLog(core::Session& session) {
    // The log may outlive the session's window; once the session is gone, failures go unlogged.
    settings::setFailureLog([log = QPointer<core::Session>(&session)](const vb::VbError& error,
                                                                      const QString& module,
                                                                      const QString& routine) {
        if (log) subLogError(*log, error, module, routine);
    });
}

} // namespace modError
