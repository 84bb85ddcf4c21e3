#pragma once

// A demo site made with the site tool's own code, once per test program, in a temporary folder:
// 35 days up to Friday 28 March 2003, six registers, twelve clerks. Tests must not change it.

#include "site/DemoData.h"
#include "site/SiteSchema.h"
#include "vb/DateTime.h"

#include <QTemporaryDir>

namespace testsupport {

struct DemoSite {
    QString path;
    site::DemoOptions options;
    site::DemoSummary summary;
};

inline site::DemoOptions demoSiteOptions() {
    site::DemoOptions options;
    options.days = 35;
    options.seed = 7;
    options.registers = 6;
    options.clerks = 12;
    options.perDay = 400;
    options.endDay = vb::dateSerial(2003, 3, 28);
    return options;
}

inline const DemoSite& demoSite() {
    static QTemporaryDir dir;
    static const DemoSite made = [] {
        DemoSite s{dir.filePath(QStringLiteral("demo.tsite")), demoSiteOptions(), {}};
        auto db = site::initSite(s.path, false);
        s.summary = site::writeDemo(db->handle(), s.options, false);
        return s;
    }();
    return made;
}

} // namespace testsupport
