#include "settings/SettingsPath.h"
#include "settings/modIni.h"
#include "settings/modSites.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <optional>
#include <vector>

// The program settings_kill.sh and settings_full_disk.sh drive: it saves a 40-site list in one of
// two versions that differ in every field but the names, once or over and over, and checks that a
// settings file holds one of them exactly.
//
//   settings_saver init FILE         a new file: two fixed sections, then the old list
//   settings_saver save FILE old|new one save; exit 1 when it is logged as failed
//   settings_saver loop FILE [N]     saves the new list, the old, the new... (N times: the time)
//   settings_saver check FILE        exit 0, naming the list, when FILE and its backup each hold
//                                    one list exactly

using namespace Qt::Literals::StringLiterals;
using namespace settings;

namespace {

constexpr int kSites = 40;
const QByteArray kFixedSections = "[DVR]\nMethod=1\n[Printing]\nEnablePreview=-1\n";

enum class Version { Old, New };

std::vector<Site> listOf(Version version) {
    const bool isNew = version == Version::New;
    std::vector<Site> sites;
    for (int i = 0; i < kSites; ++i) {
        const QString n = u"%1"_s.arg(i, 2, 10, QChar(u'0'));
        sites.push_back({u"Store "_s + n,
                         u"register-%1.%2.example:/srv/tillsight/site.tsite"_s.arg(n).arg(
                             isNew ? u"north"_s : u"south"_s),
                         (i % 2 == 0) == isNew, (isNew ? 6000 : 5000) + i,
                         (isNew ? u"new-"_s : u"old-"_s) + n});
    }
    return sites;
}

void fail(const vb::VbError& error, const QString& module, const QString& routine) {
    std::fprintf(stderr, "logged: %d %s in %s.%s\n", error.number(),
                 qPrintable(error.description()), qPrintable(module), qPrintable(routine));
    throw error;
}

bool save(const QString& file, Version version) {
    const SettingsFileOverride use(file);
    gSites = listOf(version);
    gSiteCount = kSites;
    try {
        subSaveSites();
    } catch (const vb::VbError&) {
        return false;
    }
    return true;
}

QByteArray contentsOf(const QString& file) {
    QFile in(file);
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

// The bytes a file holds after the list is saved in each version: the new list over the old one,
// and the old over the new.
std::optional<std::pair<QByteArray, QByteArray>> expectedFiles() {
    const QTemporaryDir dir;
    const QString file = dir.filePath(u"expected.ini"_s);
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(kFixedSections) < 0) return std::nullopt;
    out.close();
    if (!save(file, Version::Old) || !save(file, Version::New)) return std::nullopt;
    const QByteArray newFile = contentsOf(file);
    if (!save(file, Version::Old)) return std::nullopt;
    return std::pair{contentsOf(file), newFile};
}

std::optional<Version> versionHeld(const QString& file,
                                   const std::pair<QByteArray, QByteArray>& expected) {
    const QByteArray bytes = contentsOf(file);
    if (bytes == expected.first) return Version::Old;
    if (bytes == expected.second) return Version::New;
    return std::nullopt;
}

// The file must load as one list exactly, and be byte for byte what that save writes; so must the
// backup, when there is one.
int check(const QString& file) {
    const auto expected = expectedFiles();
    if (!expected) return 2;
    const SettingsFileOverride use(file);
    try {
        subLoadSites();
    } catch (const vb::VbError&) {
        std::printf("damaged: the list does not load\n");
        return 1;
    }
    const auto version = versionHeld(file, *expected);
    const bool listed = version && gSiteCount == kSites && gSites == listOf(*version);
    const QString backup = file + u".bak"_s;
    const bool backupWhole = !QFile::exists(backup) || versionHeld(backup, *expected);
    if (listed && backupWhole) {
        std::printf("%s\n", *version == Version::New ? "new" : "old");
        return 0;
    }
    std::printf("damaged: file %s, backup %s\n", listed ? "whole" : "not as saved",
                backupWhole ? "whole" : "damaged");
    return 1;
}

int init(const QString& file) {
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(kFixedSections) < 0) return 2;
    out.close();
    if (!save(file, Version::Old)) return 1;
    // Every run starts from a file that holds the old list and has no backup yet.
    QFile::remove(file + u".bak"_s);
    return 0;
}

int loop(const QString& file, long long times) {
    QElapsedTimer timer;
    timer.start();
    for (long long i = 0; times < 0 || i < times; ++i)
        if (!save(file, i % 2 == 0 ? Version::New : Version::Old)) return 1;
    std::printf("%lld saves, %.2f ms a save\n", times,
                static_cast<double>(timer.nsecsElapsed()) / 1e6 / static_cast<double>(times));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: settings_saver init|save|loop|check FILE [old|new|N]\n");
        return 2;
    }
    setFailureLog(fail);
    const QByteArray command = argv[1];
    const QString file = QDir::current().absoluteFilePath(QString::fromLocal8Bit(argv[2]));
    const QByteArray extra = argc > 3 ? QByteArray(argv[3]) : QByteArray();
    if (command == "init") return init(file);
    if (command == "save") return save(file, extra == "new" ? Version::New : Version::Old) ? 0 : 1;
    if (command == "loop") return loop(file, extra.isEmpty() ? -1 : extra.toLongLong());
    if (command == "check") return check(file);
    std::fprintf(stderr, "unknown command %s\n", argv[1]);
    return 2;
}
