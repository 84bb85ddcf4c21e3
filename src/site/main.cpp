// tillsight-site: creates sites (site files or databases on a PostgreSQL server), fills them with
// demo data and runs dialect query text on them. Exit status 0 on success, 1 when the work failed
// (with "Error N: message"), 2 when the command line was wrong.

#include "jet/Parser.h"
#include "settings/SettingsPath.h"
#include "settings/modSites.h"
#include "site/DemoData.h"
#include "site/QueryOutput.h"
#include "site/ServerSite.h"
#include "site/SiteSchema.h"
#include "sitelink/Engine.h"
#include "vb/DateTime.h"
#include "vb/VbError.h"

#include <QCoreApplication>
#include <QDate>
#include <QElapsedTimer>
#include <QFile>
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

// A site file that cannot be made or opened, as the engine numbers it.
constexpr int kFileError = 3014;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

const QString kServerOptions = uR"(
On a server:
  --port N              the server's port (default 5432)
  --password-file FILE  the role's password, the file's first line; without it the PGPASSWORD
                        variable or the password file libpq reads
)"_s;

const QHash<QString, QString> kHelp = {
    {u""_s, uR"(Usage: tillsight-site COMMAND SITE [OPTIONS]

Makes and reads Tillsight sites. SITE is a site file's path, or a PostgreSQL server's address:
HOST, ROLE@HOST or ROLE@HOST/DATABASE (the role and the database are "tillsight" when left out).

Commands:
  init SITE            create a site with every table, index and report template
  demo SITE            fill a site with deterministic demo transactions
  query SITE "TEXT"    run dialect query text and print its columns and rows
  add-site SITE        add the site to the Tillsight client's list of sites
  help [COMMAND]       show this text, or a command's

Run "tillsight-site COMMAND --help" for a command's options.
)"_s},
    {u"init"_s, uR"(Usage: tillsight-site init SITE [--force] [SERVER OPTIONS]

Creates the site: every site table with its declared types, keys and indexes, and the Fixed
Report templates. An existing site file that is not empty is refused.

On a server, the database is created when it is missing (the role must be allowed to), and the
schema's functions are made too. Two roles are made after the database's name: DATABASE_owner
owns the site and cannot log in; DATABASE_client is the one store managers connect as, with the
address DATABASE_client@HOST/DATABASE, and may read the site, write its log and saved searches
and make temporary tables, but change nothing else. A database that already holds a site is
refused.

  --force                      replace an existing site file, or make a server's site afresh
  --client-password-file FILE  the password of the client role, the file's first line (needed
                               on a server)
)"_s + kServerOptions},
    {u"demo"_s, uR"(Usage: tillsight-site demo SITE [OPTIONS]

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
)"_s + kServerOptions},
    {u"add-site"_s,
     uR"(Usage: tillsight-site add-site SITE --client PROGRAM [--name NAME] [SERVER OPTIONS]

Adds the site under NAME (default "Demo Store") to the site list of the Tillsight client
PROGRAM, in the settings file that program reads. The other sites stay as they are; a site of
that name already listed keeps its place and takes the new address. A server site is listed with
its port and the password, which the client keeps in its settings file, so give the client
role's address and password here.

  --client PROGRAM    the client's executable
  --name NAME         the name the client lists the site under
)"_s + kServerOptions},
    {u"query"_s, uR"(Usage: tillsight-site query SITE [--tsv] [SERVER OPTIONS] "TEXT"

Runs dialect query text on the site. A query prints its columns with their type codes, then its
rows; a statement with effects prints the number of rows it changed.

  --tsv    print tab-separated values: first the columns as name:code, then one line per
           row; Null is written Null, and a backslash, tab, carriage return or line feed inside
           a value as \\, \t, \r or \n
)"_s + kServerOptions},
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
        throw UsageError{args.positional.isEmpty()
                             ? u"a site file path or server address is needed"_s
                             : u"unexpected arguments"_s};
    return args.positional.front();
}

QTextStream& out() {
    static QTextStream stream(stdout);
    return stream;
}

// Where a command works: a site file's path, or a server site's address.
using Site = std::variant<QString, jet::PgAddress>;

const QStringList kServerOptionNames = {u"--port"_s, u"--password-file"_s,
                                        u"--client-password-file"_s};

// A password is the first line of its file, so that it never shows in a process list.
QString secret(const Arguments& args, const QString& option) {
    QFile file(args.values[option]);
    QString line;
    if (file.open(QIODevice::ReadOnly)) line = QString::fromUtf8(file.readLine());
    while (line.endsWith(u'\n') || line.endsWith(u'\r'))
        line.chop(1);
    if (line.isEmpty())
        throw vb::VbError(kFileError, u"The password file '"_s + file.fileName() +
                                          u"' cannot be read or its first line is empty"_s);
    return line;
}

// What is a file and what a server follows the link, so that the tool and the client read an
// address alike.
Site siteOf(const Arguments& args, const QString& text) {
    if (sitelink::isSiteFileAddress(text)) {
        for (const QString& option : kServerOptionNames)
            if (args.values.contains(option))
                throw UsageError{option + u" is for a server, and "_s + text +
                                 u" is a site file"_s};
        return text;
    }
    std::optional<jet::PgAddress> address = jet::parsePgAddress(text);
    if (!address)
        throw UsageError{u'"' + text +
                         u"\" is neither a site file nor a server address (HOST, ROLE@HOST or "
                         u"ROLE@HOST/DATABASE)"_s};
    const long long port = number(args, u"--port"_s, address->port);
    if (port < 1 || port > 65535) throw UsageError{u"--port needs a number from 1 to 65535"_s};
    address->port = static_cast<int>(port);
    if (args.values.contains(u"--password-file"_s))
        address->password = secret(args, u"--password-file"_s);
    return *address;
}

QString nameOf(const Site& site) {
    if (const auto* path = std::get_if<QString>(&site)) return *path;
    return site::addressText(std::get<jet::PgAddress>(site));
}

int runInit(const Arguments& args) {
    const Site target = siteOf(args, onlyPath(args, 1));
    const bool force = args.flags.contains(u"--force"_s);
    if (const auto* path = std::get_if<QString>(&target)) {
        site::initSite(*path, force);
        out() << "Created the site " << *path << '\n';
        return 0;
    }
    const auto& address = std::get<jet::PgAddress>(target);
    const QString client = site::clientRole(address.database);
    if (!args.values.contains(u"--client-password-file"_s))
        throw UsageError{u"init on a server needs --client-password-file FILE: the password "
                         u"store managers will give to connect as "_s +
                         client};
    site::initServerSite(address, {force, secret(args, u"--client-password-file"_s)});
    out() << "Created the site " << nameOf(target) << "; store managers connect as " << client
          << '@' << address.host << '/' << address.database << '\n';
    return 0;
}

int runDemo(const Arguments& args) {
    const Site target = siteOf(args, onlyPath(args, 1));
    site::DemoOptions options;
    options.days = static_cast<int>(number(args, u"--days"_s, options.days));
    options.seed = static_cast<std::uint64_t>(number(args, u"--seed"_s, 1));
    options.registers = static_cast<int>(number(args, u"--registers"_s, options.registers));
    options.clerks = static_cast<int>(number(args, u"--clerks"_s, options.clerks));
    options.perDay = static_cast<int>(number(args, u"--per-day"_s, options.perDay));
    readEnd(args, options);
    const bool quiet = args.flags.contains(u"--quiet"_s);
    const bool showProgress = !quiet && isatty(fileno(stderr));
    const bool replace = args.flags.contains(u"--replace"_s);
    const site::DemoProgress progress = [showProgress](int percent) {
        if (showProgress) fprintf(stderr, "\rWriting demo data: %3d%%", percent);
    };

    QElapsedTimer timer;
    timer.start();
    site::DemoSummary summary;
    if (const auto* path = std::get_if<QString>(&target))
        summary =
            site::writeDemo(site::openExistingSite(*path)->handle(), options, replace, progress);
    else
        summary = site::writeDemo(*site::connectServer(std::get<jet::PgAddress>(target)), options,
                                  replace, progress);
    if (showProgress) fprintf(stderr, "\n");
    if (!quiet)
        out() << "Wrote " << summary.transactions << " transactions over " << options.days
              << " days to " << nameOf(target) << " in " << timer.elapsed() << " ms\n";
    return 0;
}

// SELECT ... INTO makes a table and gives no rows.
bool returnsRows(const jet::Statement& statement) {
    const auto* select = std::get_if<jet::Select>(&statement);
    return (select && select->into.isEmpty()) || std::holds_alternative<jet::Transform>(statement);
}

// Prints what a site's engine gives for the text, whichever engine it is.
template <typename Database> int printQuery(Database& db, const QString& text, bool tsv) {
    if (!returnsRows(jet::parseStatement(text))) {
        out() << db.execute(text) << " rows changed\n";
        return 0;
    }
    const auto records = db.query(text);
    if (tsv)
        site::writeTsv(*records, out());
    else
        site::writeTable(*records, out());
    return 0;
}

int runQuery(const Arguments& args) {
    if (args.positional.size() != 2)
        throw UsageError{u"query needs a site file path or server address and the query text"_s};
    const Site target = siteOf(args, args.positional[0]);
    const QString& text = args.positional[1];
    const bool tsv = args.flags.contains(u"--tsv"_s);
    if (const auto* path = std::get_if<QString>(&target))
        return printQuery(*site::openExistingSite(*path), text, tsv);
    return printQuery(*site::openServerSite(std::get<jet::PgAddress>(target)), text, tsv);
}

int runAddSite(const Arguments& args) {
    const Site target = siteOf(args, onlyPath(args, 1));
    if (!args.values.contains(u"--client"_s)) throw UsageError{u"--client is needed"_s};
    const QString name = args.values.value(u"--name"_s, u"Demo Store"_s);
    if (const auto refusal = settings::siteNameRefusal(name)) throw UsageError{*refusal};
    // Only a real site goes on the list, and a server's as the client will reach it.
    QString address;
    int port = 0;
    QString password;
    if (const auto* path = std::get_if<QString>(&target)) {
        address = QFileInfo(*path).absoluteFilePath();
        site::openExistingSite(address);
    } else {
        const auto& server = std::get<jet::PgAddress>(target);
        site::openServerSite(server);
        address = args.positional.front();
        port = server.port;
        password = server.password;
    }
    const QString file =
        settings::settingsFileOf(QFileInfo(args.values[u"--client"_s]).absoluteFilePath());
    const settings::SettingsFileOverride use(file);
    settings::setFailureLog([](const vb::VbError& e, const QString&, const QString&) { throw e; });
    settings::subLoadSites();
    const int index = settings::fncFindSite(name);
    if (index >= 0) {
        settings::Site& site = settings::gSites[static_cast<std::size_t>(index)];
        site.Address = address;
        site.Port = port;
        site.Password = password;
    } else
        settings::fncAddSite(name, address, false, port, password);
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
    const QSet<QString> server = {u"--port"_s, u"--password-file"_s};
    if (command == u"init") {
        const Arguments parsed =
            parse(args, server + QSet<QString>{u"--client-password-file"_s}, {u"--force"_s});
        return parsed.help ? showHelp(command) : runInit(parsed);
    }
    if (command == u"demo") {
        const Arguments parsed =
            parse(args,
                  server + QSet<QString>{u"--days"_s, u"--seed"_s, u"--registers"_s, u"--clerks"_s,
                                         u"--per-day"_s, u"--end"_s},
                  {u"--replace"_s, u"--quiet"_s});
        return parsed.help ? showHelp(command) : runDemo(parsed);
    }
    if (command == u"add-site") {
        const Arguments parsed =
            parse(args, server + QSet<QString>{u"--client"_s, u"--name"_s}, {});
        return parsed.help ? showHelp(command) : runAddSite(parsed);
    }
    if (command == u"query") {
        const Arguments parsed = parse(args, server, {u"--tsv"_s});
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
