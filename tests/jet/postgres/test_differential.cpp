// Every text the client sends and every Fixed Report template, run on the demo site file and on
// the same site on a PostgreSQL server: the same rows, values and column types.

#include "ServerSiteTest.h"
#include "core/modFixedReports.h"

#include <QFile>

using namespace Qt::Literals::StringLiterals;
using testsupport::bothSites;
using testsupport::expectSameRows;

namespace {

struct Entry {
    QString name, text;
};

// The file's entries: "-- name" first, separated by lines holding only "--".
std::vector<Entry> readEntries(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    std::vector<Entry> entries;
    Entry current;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        if (line.trimmed() == u"--") {
            if (!current.text.trimmed().isEmpty()) entries.push_back(current);
            current = {};
        } else if (line.startsWith(u"-- ")) {
            if (current.name.isEmpty()) current.name = line.mid(3);
        } else {
            current.text += (current.text.isEmpty() ? QString() : u"\n"_s) + line;
        }
    }
    if (!current.text.trimmed().isEmpty()) entries.push_back(current);
    return entries;
}

bool returnsRows(const QString& text) {
    const QString t = text.trimmed().toLower();
    return (t.startsWith(u"select") || t.startsWith(u"transform")) && !t.contains(u" into ");
}

bool ordered(const QString& text) {
    return text.contains(u"order by"_s, Qt::CaseInsensitive) ||
           text.trimmed().startsWith(u"transform"_s, Qt::CaseInsensitive);
}

// Runs a text on both: the same rows, or the same error. Whether it gave rows.
bool expectSameOnBoth(const QString& text) {
    auto& sites = bothSites();
    SCOPED_TRACE(text.toStdString());
    const bool rows = returnsRows(text);
    const auto a = testsupport::runOn(*sites.file, text, rows);
    const auto b = testsupport::runOn(*sites.server, text, rows);
    EXPECT_EQ(a.error, b.error) << b.words.toStdString();
    if (a.error || b.error) return false;
    if (!rows) {
        EXPECT_EQ(a.changed, b.changed);
        return false;
    }
    expectSameRows(*a.rows, *b.rows, ordered(text));
    return a.rows->recordCount() > 0;
}

TEST(ServerDifferential, EveryTextTheClientSendsGivesTheSameRowsAsTheSiteFile) {
    // The texts that write (the log, saved searches, a report's table) change both sites alike.
    const auto entries = readEntries(QStringLiteral(TILLSIGHT_TEST_DATA "/system_queries.sql"));
    ASSERT_GE(entries.size(), 40u);
    int withRows = 0;
    for (const Entry& e : entries) {
        SCOPED_TRACE(e.name.toStdString());
        withRows += expectSameOnBoth(e.text);
    }
    EXPECT_GE(withRows, 20);
}

TEST(ServerDifferential, EveryFixedReportGivesTheSameRowsAsTheSiteFile) {
    auto reports = bothSites().file->query(
        u"SELECT idfFixedReportID, fldSQL, fldCommand, fldsubquery FROM tblfixedreports "
        u"WHERE NOT fldIssubquery ORDER BY idfFixedReportID"_s);
    ASSERT_GE(reports->recordCount(), 20u);
    auto templateOf = [&](const vb::Variant& id) {
        auto row = bothSites().file->query(
            u"SELECT fldSQL FROM tblfixedreports WHERE idfFixedReportID = "_s + vb::cstr(id));
        return vb::cstr(row->valueAt(0, 0));
    };
    const QString week =
        u" tblTrans.fldTransTime between #2003/03/17 00:00:00# AND #2003/03/24 00:00:00# "_s;
    int withRows = 0;
    for (std::size_t r = 0; r < reports->recordCount(); ++r) {
        for (const bool critical : {false, true}) {
            SCOPED_TRACE("report " + vb::cstr(reports->valueAt(r, 0)).toStdString() +
                         (critical ? " critical" : ""));
            auto expand = [&](const QString& text) {
                return modFixedReports::fncExpandPlaceholders(text, critical, week, 3);
            };
            QString text = vb::cstr(reports->valueAt(r, 1));
            if (vb::cbool(reports->valueAt(r, 2))) {
                // The client drops its table first and carries on when there is none.
                testsupport::runOn(*bothSites().file, u"DROP TABLE tblTemp3"_s, false);
                testsupport::runOn(*bothSites().server, u"DROP TABLE tblTemp3"_s, false);
                expectSameOnBoth(expand(text));
                text = templateOf(reports->valueAt(r, 3));
            }
            withRows += expectSameOnBoth(expand(text));
        }
    }
    EXPECT_GE(withRows, int(reports->recordCount()));
}

} // namespace
