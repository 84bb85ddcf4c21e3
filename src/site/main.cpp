// tillsight-site: creates site files, fills them with demo data and runs dialect query text on
// them. Exit status 0 on success, 1 when the work failed (with "Error N: message"), 2 when the
// command line was wrong.

#include "jet/Parser.h"
#include "settings/SettingsPath.h"
#include "settings/modSites.h"
#include "site/DemoData.h"
#include "site/QueryOutput.h"
#include "site/SiteSchema.h"
#include "vb/DateTime.h"
#include "vb/VbError.h"

#include <QCoreApplication>
#include <QDate>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QTextStream>

#include <cstdio>
#include <optional>
#include <unistd.h>
#include <variant>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

const QHash<QString, QString> kHelp = {
    {u""_s, uR"(Usage: tillsight-site COMMAND PATH [OPTIONS]

Makes and reads Tillsight site files.

Commands:
  init PATH            create a site file with every table, index and report template
  demo PATH            fill a site file with deterministic demo transactions
  query PATH "TEXT"    run dialect query text and print its columns and rows
  add-site PATH        add the site to the Tillsight client's list of sites
  help [COMMAND]       show this text, or a command's

Run "tillsight-site COMMAND --help" for a command's options.
)"_s},
    {u"init"_s, uR"(Usage: tillsight-site init PATH [--force]

Creates the site file PATH: every site table with its declared types, keys and indexes, and the
Fixed Report templates. An existing file that is not empty is refused.

  --force    replace an existing file
)"_s},
    {u"demo"_s, uR"(Usage: tillsight-site demo PATH [OPTIONS]

Fills an initialised site with clerks, action codes, registers and their cameras, an item
catalogue and the transactions of a store open 07:00 to 22:00. The same options always give the
same rows.

  --days N         days of transactions (default 30)
  --seed S         seed of the data (default 1)
  --registers N    registers (default 6); the last one has no camera
  --clerks N       clerks (default 24)
  --per-day N      transactions on an average day (default 1500)
  --end DATE       the last day, as yyyy-mm-dd, "today" or "now" (default 2003-03-28);
                   "now" ends the data at the present moment
  --replace        write over demo data the site already holds
  --quiet          print nothing on success
)"_s},
    {u"add-site"_s, uR"(Usage: tillsight-site add-site PATH --client PROGRAM [--name NAME]

Adds the site file PATH under NAME (default "Demo Store") to the site list of the Tillsight
client PROGRAM, in the settings file that program reads. The other sites stay as they are; a
site of that name already listed keeps its place and takes the new path.

  --client PROGRAM    the client's executable
  --name NAME         the name the client lists the site under
)"_s},
    {u"query"_s, uR"(Usage: tillsight-site query PATH [--tsv] "TEXT"

Runs dialect query text on the site. A query prints its columns with their type codes, then its
rows; a statement with effects prints the number of rows it changed.

  --tsv    print tab-separated values: first the columns as name:code, then one line per
           row; Null is written Null, and a backslash, tab, carriage return or line feed inside
           a value as \\, \t, \r or \n
)"_s},
};

struct UsageError {
    QString message;
};

// The command line of one command: its positional arguments, valued options and flags.
struct Arguments {
    QStringList positional;
    QHash<QString, QString> values;
    QSet<QString> flags;
    bool help = false;
};

Arguments parse(const QStringList& args, const QSet<QString>& valued, const QSet<QString>& flags) {
    Arguments parsed;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        if (arg == u"--help" || arg == u"-h")
            parsed.help = true;
        else if (valued.contains(arg)) {
            if (i + 1 >= args.size()) throw UsageError{arg + u" needs a value"_s};
            parsed.values.insert(arg, args[++i]);
        } else if (flags.contains(arg))
            parsed.flags.insert(arg);
        else if (arg.startsWith(u"--"))
            throw UsageError{u"unknown option "_s + arg};
        else
            parsed.positional << arg;
    }
    return parsed;
}

long long number(const Arguments& args, const QString& option, long long fallback) {
    if (!args.values.contains(option)) return fallback;
    bool ok = false;
    const long long value = args.values[option].toLongLong(&ok);
    if (!ok)
        throw UsageError{option + u" needs a whole number, not \""_s + args.values[option] + u'"'};
    return value;
}

// The last day, and with "now" the moment the data ends on that day.
void readEnd(const Arguments& args, site::DemoOptions& options) {
    if (!args.values.contains(u"--end"_s)) return;
    const QString text = args.values[u"--end"_s];
    if (text == u"now") {
        options.endMoment = vb::now();
        options.endDay = static_cast<double>(vb::splitSerial(options.endMoment).day);
        return;
    }
    if (text == u"today") {
        options.endDay = vb::today();
        return;
    }
    const QDate date = QDate::fromString(text, Qt::ISODate);
    if (!date.isValid())
        throw UsageError{u"--end needs a date as yyyy-mm-dd, \"today\" or \"now\""_s};
    options.endDay = vb::dateSerial(date.year(), date.month(), date.day());
}

const QString& onlyPath(const Arguments& args, int expected) {
    if (args.positional.size() != expected)
        throw UsageError{args.positional.isEmpty() ? u"a site file path is needed"_s
                                                   : u"unexpected arguments"_s};
    return args.positional.front();
}

QTextStream& out() {
    static QTextStream stream(stdout);
    return stream;
}

int runInit(const Arguments& args) {
    const QString& path = onlyPath(args, 1);
    site::initSite(path, args.flags.contains(u"--force"_s));
    out() << "Created the site " << path << '\n';
    return 0;
}

int runDemo(const Arguments& args) {
    const QString& path = onlyPath(args, 1);
    site::DemoOptions options;
    options.days = static_cast<int>(number(args, u"--days"_s, options.days));
    options.seed = static_cast<std::uint64_t>(number(args, u"--seed"_s, 1));
    options.registers = static_cast<int>(number(args, u"--registers"_s, options.registers));
    options.clerks = static_cast<int>(number(args, u"--clerks"_s, options.clerks));
    options.perDay = static_cast<int>(number(args, u"--per-day"_s, options.perDay));
    readEnd(args, options);
    const bool quiet = args.flags.contains(u"--quiet"_s);
    const bool showProgress = !quiet && isatty(fileno(stderr));

    auto db = site::openExistingSite(path);
    QElapsedTimer timer;
    timer.start();
    const site::DemoSummary summary = site::writeDemo(
        db->handle(), options, args.flags.contains(u"--replace"_s), [showProgress](int percent) {
            if (showProgress) fprintf(stderr, "\rWriting demo data: %3d%%", percent);
        });
    if (showProgress) fprintf(stderr, "\n");
    if (!quiet)
        out() << "Wrote " << summary.transactions << " transactions over " << options.days
              << " days to " << path << " in " << timer.elapsed() << " ms\n";
    return 0;
}

// SELECT ... INTO makes a table and gives no rows.
bool returnsRows(const jet::Statement& statement) {
    const auto* select = std::get_if<jet::Select>(&statement);
    return (select && select->into.isEmpty()) || std::holds_alternative<jet::Transform>(statement);
}

int runQuery(const Arguments& args) {
    if (args.positional.size() != 2)
        throw UsageError{u"query needs a site file path and the query text"_s};
    const QString& text = args.positional[1];
    auto db = site::openExistingSite(args.positional[0]);
    if (!returnsRows(jet::parseStatement(text))) {
        out() << db->execute(text) << " rows changed\n";
        return 0;
    }
    const auto records = db->query(text);
    if (args.flags.contains(u"--tsv"_s))
        site::writeTsv(*records, out());
    else
        site::writeTable(*records, out());
    return 0;
}

int runAddSite(const Arguments& args) {
    const QString path = QFileInfo(onlyPath(args, 1)).absoluteFilePath();
    if (!args.values.contains(u"--client"_s)) throw UsageError{u"--client is needed"_s};
    const QString name = args.values.value(u"--name"_s, u"Demo Store"_s);
    if (const auto refusal = settings::siteNameRefusal(name)) throw UsageError{*refusal};
    site::openExistingSite(path); // only a real site goes on the list
    const QString file =
        settings::settingsFileOf(QFileInfo(args.values[u"--client"_s]).absoluteFilePath());
    const settings::SettingsFileOverride use(file);
    settings::setFailureLog([](const vb::VbError& e, const QString&, const QString&) { throw e; });
    settings::subLoadSites();
    const int index = settings::fncFindSite(name);
    if (index >= 0)
        settings::gSites[static_cast<std::size_t>(index)].Address = path;
    else
        settings::fncAddSite(name, path, false, 0, QString());
    settings::subSaveSites();
    out() << (index >= 0 ? "Updated" : "Added") << " the site \"" << name << "\" in " << file
          << '\n';
    return 0;
}

int showHelp(const QString& command) {
    out() << kHelp.value(command, kHelp[QString()]);
    return 0;
}

int run(QStringList args) {
    if (args.isEmpty() || args.front() == u"--help" || args.front() == u"-h") return showHelp({});
    const QString command = args.takeFirst();
    if (command == u"help") return showHelp(args.value(0));
    if (command == u"init") {
        const Arguments parsed = parse(args, {}, {u"--force"_s});
        return parsed.help ? showHelp(command) : runInit(parsed);
    }
    if (command == u"demo") {
        const Arguments parsed = parse(
            args,
            {u"--days"_s, u"--seed"_s, u"--registers"_s, u"--clerks"_s, u"--per-day"_s, u"--end"_s},
            {u"--replace"_s, u"--quiet"_s});
        return parsed.help ? showHelp(command) : runDemo(parsed);
    }
    if (command == u"add-site") {
        const Arguments parsed = parse(args, {u"--client"_s, u"--name"_s}, {});
        return parsed.help ? showHelp(command) : runAddSite(parsed);
    }
    if (command == u"query") {
        const Arguments parsed = parse(args, {}, {u"--tsv"_s});
        return parsed.help ? showHelp(command) : runQuery(parsed);
    }
    throw UsageError{u"unknown command \""_s + command + u'"'};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments();
    args.removeFirst();
    try {
        const int status = run(args);
        out().flush();
        return status;
    } catch (const UsageError& e) {
        out().flush();
        fprintf(stderr, "tillsight-site: %s\nRun \"tillsight-site --help\" for help.\n",
                qPrintable(e.message));
        return kUsage;
    } catch (const vb::VbError& e) {
        out().flush();
        fprintf(stderr, "Error %d: %s\n", e.number(), qPrintable(e.description()));
        return kFailed;
    }
}
