#include "sitelink/SessionRegistry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

using sitelink::SessionLease;

namespace {

class Sessions : public ::testing::Test {
protected:
    QString site() const { return dir_.filePath(QStringLiteral("store.tsite")); }
    QTemporaryDir dir_;
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
