#pragma once

// A small generated site of the test's own (five days, about 5,000 transactions) and a read on it
// that takes long enough to be stopped, or to hold the site, while a test does something else:
// a cross join of the transactions with themselves and the action codes, some 300 million rows
// to look at, which finishes by itself in under a minute if nothing stops it.

#include "site/DemoData.h"
#include "site/SiteSchema.h"
#include "vb/DateTime.h"

#include "support/VbTestSupport.h"

#include <QFile>
#include <QTemporaryDir>

namespace testsupport {

inline constexpr auto kLongRead =
    u"select count(*) from tblTrans as a, tblTrans as b, lkpActions as c "
    u"where a.fldTransQty > b.fldTransQty";

// A site file's header says whether it is in WAL mode.
inline bool inWalMode(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QByteArray header = file.read(20);
    return header.size() == 20 && header[18] == 2 && header[19] == 2;
}

class BusySiteTest : public EnUsTest {
protected:
    void SetUp() override {
        EnUsTest::SetUp();
        ASSERT_TRUE(dir_.isValid());
        path_ = dir_.filePath(QStringLiteral("busy.tsite"));
        transactions_ = makeSite(path_);
    }

    // Makes the site; its number of transactions.
    static int makeSite(const QString& path) {
        auto db = site::initSite(path, false);
        return static_cast<int>(site::writeDemo(db->handle(), options(), false).transactions);
    }

    static site::DemoOptions options() {
        site::DemoOptions options;
        options.days = 5;
        options.perDay = 1000;
        options.endDay = vb::dateSerial(2003, 3, 28);
        return options;
    }

    QTemporaryDir dir_;
    QString path_;
    int transactions_ = 0;
};

} // namespace testsupport
