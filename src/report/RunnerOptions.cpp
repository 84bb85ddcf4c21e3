#include "report/RunnerOptions.h"

#include "core/modDateRanges.h"
#include "vb/DateTime.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace report {

namespace {

struct Option {
    const char16_t* name;
    const char16_t* valueName; // nullptr for a switch
};

constexpr Option kOptions[] = {
    {u"site", u"ADDRESS"},
    {u"port", u"N"},
    {u"password-file", u"FILE"},
    {u"fixed", u"N"},
    {u"critical", nullptr},
    {u"saved", u"TITLE"},
    {u"query", u"TEXT"},
    {u"from", u"DATE"},
    {u"to", u"DATE"},
    {u"preset", u"NAME"},
    {u"title", u"TEXT"},
    {u"out", u"FILE"},
    {u"chart", nullptr},
    {u"daily-summary", u"DATE"},
    {u"help", nullptr},
};

// Thrown inside the parser for a refused argument; parseArguments turns it into the error text.
struct Refusal {
    QString why;
};

[[noreturn]] void refuse(QString why) {
    throw Refusal{std::move(why)};
}

class Reader {
public:
    explicit Reader(const QStringList& arguments) {
        for (const Option& option : kOptions) {
            const QString name = QString::fromUtf16(option.name);
            parser_.addOption(option.valueName ? QCommandLineOption(
                                                     name, {}, QString::fromUtf16(option.valueName))
                                               : QCommandLineOption(name));
        }
        if (!parser_.parse(QStringList{u"tillsight-report"_s} + arguments))
            refuse(parser_.errorText());
        if (!parser_.positionalArguments().isEmpty())
            refuse(u"unexpected argument \"%1\""_s.arg(parser_.positionalArguments().first()));
    }

    bool isSet(const QString& name) const { return parser_.isSet(name); }

    // The option's one value; given twice is a mistake the user should hear about.
    std::optional<QString> value(const QString& name) const {
        const QStringList values = parser_.values(name);
        if (values.isEmpty()) return std::nullopt;
        if (values.size() > 1) refuse(u"--%1 is given more than once"_s.arg(name));
        return values.first();
    }

    QString required(const QString& name) const {
        const auto given = value(name);
        if (!given || given->isEmpty()) refuse(u"--%1 is required"_s.arg(name));
        return *given;
    }

    int number(const QString& name, int low, int high) const {
        const QString text = required(name);
        bool ok = false;
        const int result = text.toInt(&ok);
        if (!ok || result < low || result > high)
            refuse(u"--%1 takes a whole number from %2 to %3, not \"%4\""_s.arg(name)
                       .arg(low)
                       .arg(high)
                       .arg(text));
        return result;
    }

private:
    QCommandLineParser parser_;
};

int presetIndex(const QString& name) {
    const QStringList& captions = modDateRanges::fncRangeCaptions();
    for (int i = 0; i < modDateRanges::kCustomRange; ++i)
        if (captions[i].compare(name, Qt::CaseInsensitive) == 0) return i;
    QStringList presets = captions.mid(0, modDateRanges::kCustomRange);
    refuse(u"--preset \"%1\" is none of: %2"_s.arg(name, presets.join(u", "_s)));
}

double moment(const Reader& reader, const QString& name) {
    const QString text = reader.required(name);
    const auto serial = parseMoment(text);
    if (!serial) refuse(u"--%1 \"%2\" is not yyyy-mm-dd or yyyy-mm-dd HH:MM:SS"_s.arg(name, text));
    return *serial;
}

void readReport(const Reader& reader, RunnerOptions& options) {
    const int kinds = int(reader.isSet(u"fixed"_s)) + int(reader.isSet(u"saved"_s)) +
                      int(reader.isSet(u"query"_s)) + int(reader.isSet(u"daily-summary"_s));
    if (kinds != 1) refuse(u"give exactly one of --fixed, --saved, --query and --daily-summary"_s);
    if (reader.isSet(u"critical"_s) && !reader.isSet(u"fixed"_s))
        refuse(u"--critical goes with --fixed"_s);
    if (reader.isSet(u"fixed"_s))
        options.report =
            FixedReport{reader.number(u"fixed"_s, 1, INT32_MAX), reader.isSet(u"critical"_s)};
    else if (reader.isSet(u"saved"_s))
        options.report = SavedSearch{reader.required(u"saved"_s)};
    else if (reader.isSet(u"query"_s))
        options.report = QueryText{reader.required(u"query"_s)};
    else
        options.report = DailySummary{moment(reader, u"daily-summary"_s)};
}

// The Daily Summary is a document with its own title and periods: of the file kinds, only the
// page and the printout fit it.
void checkDailySummary(const Reader& reader, const RunnerOptions& options) {
    if (!std::holds_alternative<DailySummary>(options.report)) return;
    for (const char16_t* option : {u"from", u"to", u"preset", u"title", u"chart"})
        if (reader.isSet(QString::fromUtf16(option)))
            refuse(u"--%1 does not apply to --daily-summary"_s.arg(QString::fromUtf16(option)));
    if (options.output != OutputKind::Html && options.output != OutputKind::Pdf)
        refuse(u"--daily-summary writes a .htm or .pdf file"_s);
}

void readInterval(const Reader& reader, RunnerOptions& options) {
    const bool range = reader.isSet(u"from"_s) || reader.isSet(u"to"_s);
    const bool preset = reader.isSet(u"preset"_s);
    if (!range && !preset) return;
    if (std::holds_alternative<QueryText>(options.report))
        refuse(u"--query text carries its own criteria: --from, --to and --preset do not apply"_s);
    if (std::holds_alternative<DailySummary>(options.report)) return;
    if (range && preset) refuse(u"give --preset or --from and --to, not both"_s);
    if (preset) {
        options.preset = presetIndex(reader.required(u"preset"_s));
        return;
    }
    options.from = moment(reader, u"from"_s);
    options.to = moment(reader, u"to"_s);
    if (*options.to < *options.from) refuse(u"--to is before --from"_s);
}

OutputKind outputKind(const QString& path) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == u"txt") return OutputKind::Text;
    if (suffix == u"htm" || suffix == u"html") return OutputKind::Html;
    if (suffix == u"xls") return OutputKind::Xls;
    if (suffix == u"pdf") return OutputKind::Pdf;
    if (suffix == u"bmp") return OutputKind::Bmp;
    if (suffix == u"png") return OutputKind::Png;
    refuse(u"--out \"%1\": the extension picks the file's kind: .txt, .htm, .xls or .pdf, and "
           "with --chart .bmp or .png"_s.arg(path));
}

RunnerOptions readOptions(const Reader& reader) {
    RunnerOptions options;
    options.site = reader.required(u"site"_s);
    if (reader.isSet(u"port"_s)) options.port = reader.number(u"port"_s, 0, 65535);
    options.passwordFile = reader.value(u"password-file"_s).value_or(QString());
    readReport(reader, options);
    readInterval(reader, options);
    options.title = reader.value(u"title"_s);
    options.out = reader.required(u"out"_s);
    options.output = outputKind(options.out);
    checkDailySummary(reader, options);
    options.chart = reader.isSet(u"chart"_s);
    const bool image = options.output == OutputKind::Bmp || options.output == OutputKind::Png;
    if (options.chart != image)
        refuse(options.chart ? u"--chart writes a .bmp or .png image"_s
                             : u"an image is written with --chart"_s);
    return options;
}

} // namespace

ParsedArguments parseArguments(const QStringList& arguments) {
    ParsedArguments parsed;
    try {
        const Reader reader(arguments);
        if (reader.isSet(u"help"_s)) {
            parsed.help = true;
            return parsed;
        }
        parsed.options = readOptions(reader);
    } catch (const Refusal& refusal) {
        parsed.error = refusal.why;
    }
    return parsed;
}

std::optional<double> parseMoment(const QString& text) {
    static const QRegularExpression pattern(
        u"^(\\d{4})-(\\d{2})-(\\d{2})(?: (\\d{2}):(\\d{2}):(\\d{2}))?$"_s);
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch()) return std::nullopt;
    const auto part = [&](int i) { return match.captured(i).toInt(); };
    const int year = part(1), month = part(2), day = part(3);
    const int hour = part(4), minute = part(5), second = part(6);
    // Checked here, since the runtime's date serial rolls a 13th month into the next year.
    if (year < 100 || month < 1 || month > 12 || day < 1 ||
        day > QDate(year, month, 1).daysInMonth() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    return vb::dateSerial(year, month, day) + vb::timeSerial(hour, minute, second);
}

QString helpText() {
    return uR"(Usage: tillsight-report --site ADDRESS [--port N] [--password-file FILE]
                        (--fixed N [--critical] | --saved TITLE | --query TEXT |
                         --daily-summary DATE)
                        [--from DATE --to DATE | --preset NAME] [--title TEXT] --out FILE

Runs a report on a site with no window and writes it to FILE, as the report's view would show it.

  --site ADDRESS        the site: a site file's path, as the connection toolbar takes it
  --port N              the site's port (0, the default, for a site file)
  --password-file FILE  the site's password, read from the first line of FILE
  --fixed N             the Fixed Report whose number (idfFixedReportID) is N
  --critical            with --fixed: critical action codes only
  --saved TITLE         a saved Power Search, over its stored interval unless one is given
  --query TEXT          query text in the site's dialect
  --daily-summary DATE  the Daily Summary of that day (yyyy-mm-dd), to a .htm or .pdf file
  --from DATE, --to DATE
                        the interval: yyyy-mm-dd (its midnight) or yyyy-mm-dd HH:MM:SS
  --preset NAME         the interval as the Power Search view names it: "Current Day",
                        "Previous Day", "Previous 24 Hours", "Current Week", "Previous Week",
                        "Previous 7 Days", "Current Month", "Previous Month", "Previous 30 Days"
                        (a Fixed Report without an interval covers the previous day)
  --title TEXT          the report's title instead of its own
  --out FILE            .txt (comma-delimited text), .htm (HTML table), .xls (spreadsheet) or
                        .pdf (the printed pages); with --chart, .bmp or .png
  --chart               the report as the chart view draws it (a label column, then numbers).
                        It needs an OpenGL display: a desktop, or under cron
                        xvfb-run -a tillsight-report ... --chart --out FILE.png
  --help                this text

Exit status: 0 when the file was written, 1 when the report failed (nothing is left at FILE;
the failure is in the site's log and the messages on standard error), 2 for bad arguments.
)"_s;
}

} // namespace report
