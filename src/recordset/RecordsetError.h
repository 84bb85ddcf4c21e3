#pragma once

#include <QString>
#include <QStringView>

namespace rs {

// ADO's error numbers, raised as vb::VbError so the dialect engine reports them as the original
// runtime did.
namespace err {
constexpr int BadArguments = 3001;
constexpr int NoCurrentRecord = 3021;
constexpr int ItemNotFound = 3265;
} // namespace err

// Result sets reach the program through the link, and their errors are raised under its name.
inline constexpr QStringView kErrorSource = u"TillsightLink";

[[noreturn]] void raiseNoCurrentRecord();
[[noreturn]] void raiseItemNotFound();
// 3001 with a message naming the problem instead of ADO's generic text, which never said which
// part of a filter or sort it disliked.
[[noreturn]] void raiseBadArguments(const QString& message);

} // namespace rs
