#include "sitelink/SqliteEngine.h"

#include "site/SiteSchema.h"

#include "support/VbTestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using testsupport::errorOf;

namespace {

class SiteEngine : public testsupport::EnUsTest {
protected:
    void SetUp() override {
        EnUsTest::SetUp();
        path_ = dir_.filePath(u"store.tsite"_s);
        auto db = site::initSite(path_, false);
        for (int i = 0; i < 250; ++i)
            db->execute(u"INSERT INTO tbltransdescs (fldtransdesc) VALUES ('item %1')"_s.arg(i));
    }

    std::unique_ptr<sitelink::Engine> open() { return sitelink::openEngine({path_, 0, {}}); }

    QTemporaryDir dir_;
    QString path_;
};

} // namespace

TEST_F(SiteEngine, AddressesPickTheEngine) {
    EXPECT_TRUE(sitelink::isSiteFileAddress(path_));
    EXPECT_TRUE(sitelink::isSiteFileAddress(u"sites/store.tsite"_s));
    EXPECT_TRUE(sitelink::isSiteFileAddress(u"./missing"_s));
    EXPECT_TRUE(sitelink::isSiteFileAddress(u"store.tsite"_s));
    EXPECT_FALSE(sitelink::isSiteFileAddress(u"192.168.1.20"_s));
    EXPECT_FALSE(sitelink::isSiteFileAddress(u"reports@db.example"_s));
    EXPECT_FALSE(sitelink::isSiteFileAddress(u"reports@db.example/store7"_s));
}

TEST_F(SiteEngine, MissingOrDamagedFilesAreRefusedAndNeverCreated) {
    const QString missing = dir_.filePath(u"nothere.tsite"_s);
    EXPECT_NE(errorOf([&] { sitelink::openEngine({missing, 0, {}}); }), 0);
    EXPECT_FALSE(QFile::exists(missing));

    const QString junk = dir_.filePath(u"junk.tsite"_s);
    QFile f(junk);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(QByteArray(4096, 'x'));
    f.close();
    try {
        sitelink::openEngine({junk, 0, {}});
        ADD_FAILURE() << "a file of junk opened";
    } catch (const vb::VbError& e) {
        EXPECT_TRUE(e.description().contains(u"cannot be read")) << e.description().toStdString();
    }
    EXPECT_NE(errorOf([&] { sitelink::openEngine({u"db.example"_s, 5432, {}}); }), 0);
}

TEST_F(SiteEngine, ConnectionsHaveTheirOwnSessionsAndTemporaryTables) {
    auto a = open();
    auto b = open();
    EXPECT_NE(a->sessionIndex(), b->sessionIndex());
    EXPECT_TRUE(a->serverName().contains(u"store"));
    // The first stage of a two-stage report drops its table before it ever existed.
    EXPECT_EQ(a->execute(u"DROP TABLE tblTemp%1"_s.arg(a->sessionIndex())), 0);
    a->execute(u"SELECT fldtransdesc INTO tblTemp%1 FROM tbltransdescs"_s.arg(a->sessionIndex()));
    EXPECT_EQ(
        a->openRecordset(u"select * from tblTemp%1"_s.arg(a->sessionIndex()), {})->recordCount(),
        250u);
    EXPECT_EQ(
        errorOf([&] { b->openRecordset(u"select * from tblTemp%1"_s.arg(a->sessionIndex()), {}); }),
        3078);
    // Other failures still fail.
    EXPECT_EQ(errorOf([&] { a->execute(u"DROP TABLE tblNotThere"_s); }), 3376);
}

TEST_F(SiteEngine, ProgressRisesToOneHundredWhileRowsAreRead) {
    auto engine = open();
    std::vector<int> seen;
    auto rs = engine->openRecordset(u"select * from tbltransdescs order by fldtransdesc"_s,
                                    [&](int p) { seen.push_back(p); });
    EXPECT_EQ(rs->recordCount(), 250u);
    // Many steps of the read, not one per row: the read runs once and is measured as it goes.
    ASSERT_GE(seen.size(), 10u);
    EXPECT_EQ(seen.front(), 0);
    EXPECT_EQ(seen.back(), 100);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}
