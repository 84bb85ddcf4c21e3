#include "settings/HelpMail.h"

#include "settings/modIni.h"

using namespace Qt::Literals::StringLiterals;

namespace settings {

namespace {

QString address(const QString& file, const QString& key, const char16_t* fallback) {
    const QString configured = readProfileString(u"Help"_s, key, {}, file);
    return configured.isEmpty() ? QString::fromUtf16(fallback) : configured;
}

} // namespace

HelpMailAddresses helpMailAddresses() {
    const QString file = fncIniFile();
    return {address(file, u"SupportAddress"_s, kDefaultSupportAddress),
            address(file, u"BugReportAddress"_s, kDefaultBugReportAddress)};
}

} // namespace settings
