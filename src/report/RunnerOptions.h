#pragma once

// The command line of tillsight-report, read into a value before anything connects, so that a
// wrong argument costs nothing and is told as such (exit 2).

#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <variant>

namespace report {

enum class OutputKind { Text, Html, Xls, Pdf, Bmp, Png };

struct FixedReport {
    std::int32_t id = 0;
    bool critical = false;
};
struct SavedSearch {
    QString title;
};
struct QueryText {
    QString text;
};
// The Daily Summary of one day, as its view shows it.
struct DailySummary {
    double date = 0;
};

// What to run over which interval, and where to write it.
struct RunnerOptions {
    QString site;
    int port = 0;
    QString passwordFile;
    std::variant<FixedReport, SavedSearch, QueryText, DailySummary> report;
    // A preset option (0-8) or the custom range; neither: the report's own (a saved search's
    // stored interval, else the Power Search view's first choice, the previous day).
    std::optional<int> preset;
    std::optional<double> from;
    std::optional<double> to;
    std::optional<QString> title;
    QString out;
    OutputKind output = OutputKind::Text;
    // The report as the chart view draws it, to a .bmp or .png image.
    bool chart = false;
};

struct ParsedArguments {
    std::optional<RunnerOptions> options;
    bool help = false;
    QString error; // why the arguments were refused; empty with options or help
};

// `arguments` without the program's name.
ParsedArguments parseArguments(const QStringList& arguments);

QString helpText();

// "2003-03-28" (its midnight) or "2003-03-28 14:05:00" as a date serial; none for anything else.
std::optional<double> parseMoment(const QString& text);

} // namespace report
