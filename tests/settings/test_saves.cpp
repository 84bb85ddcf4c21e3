#include "settings/modIni.h"
#include "settings/modSites.h"

#include "settings/SiteStoreTest.h"

#include <QFileInfo>
#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace settings;
using testsupport::errorOf;

namespace {

// Stops every write past the given size as a full disk does, part-way through the file: the
// write that crosses the limit is cut short and the next one fails.
class FileSizeLimit {
public:
    explicit FileSizeLimit(qsizetype bytes) : signal_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        rlimit lowered = saved_;
        lowered.rlim_cur = static_cast<rlim_t>(bytes);
        set_ = setrlimit(RLIMIT_FSIZE, &lowered) == 0;
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, signal_);
    }
    bool set() const { return set_; }

private:
    rlimit saved_{};
    void (*signal_)(int);
    bool set_ = false;
};

// A folder closed to writing for the guard's lifetime, even to root: the thread gives up the
// power to override permissions, keeping it to take back.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(const QString& folder) : path_(QFile::encodeName(folder)) {
        chmod(path_.constData(), 0555);
        syscall(SYS_capget, &header_, saved_);
        __user_cap_data_struct lowered[2] = {saved_[0], saved_[1]};
        lowered[CAP_TO_INDEX(CAP_DAC_OVERRIDE)].effective &= ~CAP_TO_MASK(CAP_DAC_OVERRIDE);
        syscall(SYS_capset, &header_, lowered);
    }
    ~ReadOnlyFolder() {
        syscall(SYS_capset, &header_, saved_);
        chmod(path_.constData(), 0700);
    }
    bool closed() const {
        const QByteArray probe = path_ + "/probe";
        const int fd = open(probe.constData(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        if (fd < 0) return true;
        close(fd);
        unlink(probe.constData());
        return false;
    }

private:
    QByteArray path_;
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved_[2]{};
};

class SettingsSave : public SiteStore {
protected:
    QString backup = file + u".bak"_s;

    static void addSites(int from, int to) {
        for (int i = from; i < to; ++i)
            fncAddSite(u"Shop %1"_s.arg(i), u"10.0.0.%1"_s.arg(i), i % 2 == 0, 5000 + i,
                       u"pass%1"_s.arg(i));
    }
    QByteArray backupFile() const { return contentsOf(backup); }
    QStringList filesInFolder() const {
        return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
};

const Logged kSaveFailed{{vb::err::PathFileAccessError, u"modSites.subSaveSites"_s}};

} // namespace

TEST_F(SettingsSave, AWriteCutShortLeavesTheFileAndBackupAndFailsAsItsCallerSays) {
    addSites(0, 3);
    subSaveSites();
    const QByteArray first = readFile();
    addSites(3, 10);
    subSaveSites();
    const QByteArray second = readFile();
    EXPECT_EQ(backupFile(), first);

    addSites(10, 40);
    {
        const FileSizeLimit full(second.size() + 8);
        ASSERT_TRUE(full.set());
        subSaveSites();
        EXPECT_EQ(errorOf([] { subWriteIniString(u"DVR"_s, u"Method"_s, u"1"_s, fncIniFile()); }),
                  vb::err::PathFileAccessError);
    }
    EXPECT_EQ(logged, kSaveFailed);
    EXPECT_EQ(readFile(), second);
    EXPECT_EQ(backupFile(), first);
    EXPECT_EQ(filesInFolder(), QStringList({u"tillsight.ini"_s, u"tillsight.ini.bak"_s}));

    // With room again the same save goes through.
    subSaveSites();
    EXPECT_EQ(backupFile(), second);
    restart();
    EXPECT_EQ(gSiteCount, 40);
}

TEST_F(SettingsSave, TheBackupKeepsTheFileTheLastChangingListSaveReplaced) {
    addSites(0, 1);
    subSaveSites();
    EXPECT_EQ(filesInFolder(), QStringList{u"tillsight.ini"_s}); // a first save has nothing to keep

    const QByteArray good = "; hand-written\r\n[Sites]\r\nA\r\nB\r\nC\r\n[A]\r\nha\r\n0\r\n1\r\n"
                            "[B]\r\nhb\r\n0\r\neighty\r\n[C]\r\nhc\r\n0\r\n3\r\n";
    writeFile(good);
    restart();      // B's port cannot be read: the load stops there...
    subSaveSites(); // ...and the save on leaving the site list writes the sites it got
    EXPECT_NE(readFile(), good);
    EXPECT_EQ(backupFile(), good);

    // Neither the same save again nor a single option written pushes it out.
    subSaveSites();
    subWriteIniString(u"DVR"_s, u"Method"_s, u"1"_s, fncIniFile());
    subDeleteSite(u"A"_s);
    EXPECT_EQ(backupFile(), good);

    // A save that cannot keep the file it replaces does not replace it.
    const QByteArray before = readFile();
    QFile::remove(backup);
    QDir().mkpath(backup);
    addSites(0, 1);
    subSaveSites();
    EXPECT_EQ(logged.back(), kSaveFailed.front());
    EXPECT_EQ(readFile(), before);
}

TEST_F(SettingsSave, TheFileKeepsItsPermissionsAndALinkStaysALink) {
    const QString target = dir.filePath(u"shared.ini"_s);
    ASSERT_TRUE(QFile::link(target, file));
    writeFile("[DVR]\nMethod=1\n");
    const QByteArray targetName = QFile::encodeName(target);
    ASSERT_EQ(chmod(targetName.constData(), 0600), 0);
    addSites(0, 2);
    subSaveSites();
    EXPECT_TRUE(QFileInfo(file).isSymLink());
    struct stat after {};
    ASSERT_EQ(stat(targetName.constData(), &after), 0);
    EXPECT_EQ(after.st_mode & 0777, 0600u);
    restart();
    EXPECT_EQ(gSiteCount, 2);
}

TEST_F(SettingsSave, AFolderThatCannotBeWrittenIsReadAndEverySaveFailsLeavingItAlone) {
    writeFile("[DVR]\nMethod=1\n[Sites]\nA\n[A]\nha\n0\n1\n");
    const QByteArray before = readFile();
    const ReadOnlyFolder locked(dir.path());
    if (!locked.closed()) GTEST_SKIP() << "the folder can still be written";

    subLoadSites();
    EXPECT_EQ(gSites, std::vector<Site>({{u"A"_s, u"ha"_s, false, 1, {}}}));
    EXPECT_EQ(fncGetIniInt(u"DVR"_s, u"Method"_s, 0, file), 1);
    // The list is unchanged, but its save rewrites every section, and so fails.
    subSaveSites();
    EXPECT_EQ(logged, kSaveFailed);
    EXPECT_EQ(errorOf([] { subWriteIniString(u"DVR"_s, u"Method"_s, u"0"_s, fncIniFile()); }),
              vb::err::PathFileAccessError);
    EXPECT_EQ(errorOf([] { subDeleteSite(u"A"_s); }), vb::err::PathFileAccessError);
    EXPECT_EQ(gSiteCount, 1);
    EXPECT_EQ(readFile(), before);
    EXPECT_EQ(filesInFolder(), QStringList{u"tillsight.ini"_s});
}
