// Feeds arbitrary bytes to the settings reader as the settings file, and reads from it what the
// client reads at start-up: the site list, the video and printing choices and the help
// addresses. Whatever the file holds, reading must neither crash nor hang, and the site list must
// keep its shape: never without elements, its count 0 or its length.
#include "jet/fuzz/FuzzSupport.h"
#include "settings/HelpMail.h"
#include "settings/SettingsPath.h"
#include "settings/modIni.h"
#include "settings/modSites.h"

#include <QFile>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString& settingsFile() {
    static const QTemporaryDir folder;
    static const QString file = folder.filePath(u"fuzz.ini"_s);
    return file;
}

// A new file each time: a file cut to nothing and written again is flushed to disk when it is
// closed, which made the writing, not the reading, most of each run.
void writeSettings(const std::uint8_t* data, std::size_t size) {
    QFile::remove(settingsFile());
    QFile out(settingsFile());
    fuzzsupport::require(out.open(QIODevice::WriteOnly), "the settings file can be written");
    out.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
}

bool siteListKeepsItsShape() {
    const auto count = static_cast<std::size_t>(settings::gSiteCount);
    return !settings::gSites.empty() && settings::gSiteCount >= 0 &&
           (count == 0 || count == settings::gSites.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    writeSettings(data, size);
    const settings::SettingsFileOverride use(settingsFile());
    settings::gSites = {settings::Site{}};
    settings::gSiteCount = 0;
    settings::subLoadSites();
    fuzzsupport::require(siteListKeepsItsShape(), "the site list keeps its shape");
    settings::fncGetIniInt(u"DVR"_s, u"Method"_s, 0, settings::fncIniFile());
    settings::fncGetIniInt(u"Printing"_s, u"enablePreview"_s, 0, settings::fncIniFile());
    const settings::HelpMailAddresses help = settings::helpMailAddresses();
    fuzzsupport::require(!help.support.isEmpty() && !help.bugReport.isEmpty(),
                         "a help address is never empty");
    return 0;
}
