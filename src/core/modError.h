#pragma once

// The error log: a failure handler records its error in the connected site's tblLog, through the
// link that carries every query, and the user is not told. Without a connection the record is
// lost; a record that cannot be written is lost too.

#include "vb/VbError.h"

#include <QString>
#include <QStringView>
#include <cstdint>

namespace core {
class Session;
}

namespace modError {

// The source of errors raised by the client's own code (rather than by a component it uses): the
// project's name, as the runtime names the program's own errors.
inline constexpr QStringView kErrorSource = u"TillsightNetworkClient";

// Writes one log record while connected; every failure inside is ignored. A run the user
// canceled (3059) is not a failure and is not written.
void subLogError(core::Session& session, std::int32_t number, const QString& description,
                 const QString& source, const QString& appTitle, const QString& module,
                 const QString& routine);

// What a failure handler passes: the error, the component that raised it as its source (this
// client for the runtime's own errors), the application title, and the handler's own module and
// routine names.
void subLogError(core::Session& session, const vb::VbError& error, const QString& module,
                 const QString& routine);

// The INSERT INTO tblLog text for a record made at `moment` (a date serial). Single quotes are
// removed from the texts, never doubled; a text that cannot be processed leaves its value out,
// so the statement then fails on the site and the record is lost.
QString logInsertText(double moment, std::int32_t number, const QString& description,
                      const QString& source, const QString& appTitle, const QString& module,
                      const QString& routine);

// Makes the settings module's load and save failures go to this log.
void installAsSettingsFailureLog(core::Session& session);

} // namespace modError
