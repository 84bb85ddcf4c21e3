#pragma once

// The addresses behind the Help menu's "Ask a question" and "Report a bug". A reseller can point
// them at its own desk in the settings file:
//
//   [Help]
//   SupportAddress=desk@example.net
//   BugReportAddress=bugs@example.net

#include <QString>

namespace settings {

struct HelpMailAddresses {
    QString support;
    QString bugReport;
};

inline constexpr auto kDefaultSupportAddress = u"support@tillsight.example";
inline constexpr auto kDefaultBugReportAddress = u"bugs@tillsight.example";

// From the settings file; a missing or empty entry gives its default.
HelpMailAddresses helpMailAddresses();

} // namespace settings
