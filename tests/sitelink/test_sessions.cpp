#include "sitelink/SessionRegistry.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using sitelink::SessionLease;

namespace {

constexpr uid_t kNobody = 65534;
constexpr uid_t kAnotherUser = 65533;

// Two site files, and a temporary folder of the test's own, open to every user as the system's.
class Sessions : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir_.isValid());
        ASSERT_EQ(chmod(QFile::encodeName(dir_.path()).constData(), 0755), 0);
        for (const QString& name : {QStringLiteral("store.tsite"), QStringLiteral("other.tsite")})
            ASSERT_TRUE(QFile(dir_.filePath(name)).open(QIODevice::WriteOnly));
        ASSERT_TRUE(QDir(dir_.path()).mkdir(QStringLiteral("tmp")));
        ASSERT_EQ(chmod(QFile::encodeName(dir_.filePath(QStringLiteral("tmp"))).constData(), 01777),
                  0);
        savedTmp_ = qgetenv("TMPDIR");
        qputenv("TMPDIR", QFile::encodeName(dir_.filePath(QStringLiteral("tmp"))));
    }
    void TearDown() override { qputenv("TMPDIR", savedTmp_); }

    QString site() const { return dir_.filePath(QStringLiteral("store.tsite")); }

    // The number a process of another user takes, holding it until `release` is written to;
    // 0 when it took none, -1 when this process cannot act as another user.
    static pid_t numberAs(uid_t user, const QString& site, int ready, int release) {
        const pid_t child = fork();
        if (child != 0) return child;
        char index = -1;
        if (setgid(user) == 0 && setuid(user) == 0) {
            auto theirs = SessionLease::acquire(site);
            index = theirs ? static_cast<char>(theirs->index()) : 0;
            (void)!write(ready, &index, 1);
            char wait;
            (void)!read(release, &wait, 1);
            _exit(0);
        }
        (void)!write(ready, &index, 1);
        _exit(0);
    }

    QTemporaryDir dir_;
    QByteArray savedTmp_;
};

} // namespace

TEST_F(Sessions, ConnectionsInOneProcessGetDifferentNumbersAndFreedOnesComeBack) {
    auto a = SessionLease::acquire(site());
    auto b = SessionLease::acquire(site());
    ASSERT_TRUE(a && b);
    EXPECT_EQ(a->index(), 1);
    EXPECT_EQ(b->index(), 2);
    a.reset();
    auto c = SessionLease::acquire(site());
    ASSERT_TRUE(c);
    EXPECT_EQ(c->index(), 1);
    // Another site has numbers of its own.
    auto other = SessionLease::acquire(dir_.filePath(QStringLiteral("other.tsite")));
    ASSERT_TRUE(other);
    EXPECT_EQ(other->index(), 1);
}

TEST_F(Sessions, AnotherProcessSeesTheNumbersTakenAndTheyComeBackWhenItDies) {
    auto mine = SessionLease::acquire(site());
    ASSERT_TRUE(mine);
    int ready[2], release[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(release), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto theirs = SessionLease::acquire(site());
        const char index = theirs ? static_cast<char>(theirs->index()) : 0;
        (void)!write(ready[1], &index, 1);
        char wait;
        (void)!read(release[0], &wait, 1);
        _exit(0); // ends without releasing anything by hand
    }
    char theirs = 0;
    ASSERT_EQ(read(ready[0], &theirs, 1), 1);
    EXPECT_EQ(theirs, 2);
    auto next = SessionLease::acquire(site());
    ASSERT_TRUE(next);
    EXPECT_EQ(next->index(), 3);
    (void)!write(release[1], "x", 1);
    int status = 0;
    waitpid(child, &status, 0);
    auto reused = SessionLease::acquire(site());
    ASSERT_TRUE(reused);
    EXPECT_EQ(reused->index(), 2);
}

TEST_F(Sessions, AnUnwritableFolderIsAClearFailure) {
    QString error;
    EXPECT_FALSE(SessionLease::acquire(QStringLiteral("/proc/no/such/site.tsite"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("session registry"))) << error.toStdString();
}

TEST_F(Sessions, EveryPathToOneSiteFileMeetsOneRegistry) {
    const QString link = dir_.filePath(QStringLiteral("link.tsite"));
    ASSERT_TRUE(QFile::link(site(), link));
    auto direct = SessionLease::acquire(site());
    auto linked = SessionLease::acquire(link);
    auto relative = SessionLease::acquire(QDir::current().relativeFilePath(site()));
    ASSERT_TRUE(direct && linked && relative);
    EXPECT_EQ(direct->index(), 1);
    EXPECT_EQ(linked->index(), 2);
    EXPECT_EQ(relative->index(), 3);
    // Nothing is made beside the site, so a folder that cannot be written takes nothing away.
    EXPECT_EQ(QDir(dir_.path()).entryList(QDir::Files | QDir::System),
              QStringList({QStringLiteral("link.tsite"), QStringLiteral("other.tsite"),
                           QStringLiteral("store.tsite")}));
}

// Users other than root are bound by the folder's permissions and by each other's files.
TEST_F(Sessions, UsersOfOneComputerNumberThemselvesApartOnASiteInAFolderTheyCannotWrite) {
    const QString folder = dir_.filePath(QStringLiteral("locked"));
    ASSERT_TRUE(QDir().mkdir(folder));
    const QString locked = folder + QStringLiteral("/store.tsite");
    ASSERT_TRUE(QFile::copy(site(), locked));
    ASSERT_EQ(chmod(QFile::encodeName(folder).constData(), 0555), 0);
    int ready[2], release[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(release), 0);
    std::vector<pid_t> children;
    std::vector<int> numbers;
    for (const uid_t user : {kNobody, kAnotherUser}) {
        children.push_back(numberAs(user, locked, ready[1], release[0]));
        char index = 0;
        ASSERT_EQ(read(ready[0], &index, 1), 1);
        numbers.push_back(index);
    }
    (void)!write(release[1], "xx", 2);
    for (const pid_t child : children)
        waitpid(child, nullptr, 0);
    chmod(QFile::encodeName(folder).constData(), 0755);
    if (numbers[0] == -1) GTEST_SKIP() << "cannot run processes as other users";
    EXPECT_EQ(numbers, (std::vector<int>{1, 2}));
}
