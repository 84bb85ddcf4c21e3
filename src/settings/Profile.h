#pragma once

// A private-profile ("INI") text held as its lines, with the platform's reading and writing
// rules: a section runs from its "[name]" header to the next header; lines with "=" are keys,
// lines without are kept as bare lines; section and key names match without regard to case and
// surrounding blanks. Every line the operations do not address stays as it was, in its place.

#include <QString>
#include <QStringList>
#include <optional>

namespace settings {

class Profile {
public:
    static Profile parse(const QString& text);
    QString text() const;
    const QStringList& lines() const { return lines_; }

    // The section's non-blank lines, trimmed and in order, from the first section of that name;
    // empty when there is none.
    QStringList sectionLines(const QString& section) const;
    // The trimmed text after "=" of the section's first line whose key matches.
    std::optional<QString> value(const QString& section, const QString& key) const;

    // Replaces the key's line, or adds one after the section's last non-blank line, or adds the
    // section at the end.
    void setValue(const QString& section, const QString& key, const QString& value);
    // Replaces everything between the section's header and the next one, or adds the section at
    // the end (a header alone when there are no lines).
    void replaceSection(const QString& section, const QStringList& lines);
    // Removes every section of that name, header and lines.
    void removeSection(const QString& section);

private:
    struct Range {
        qsizetype header; // index of the "[name]" line
        qsizetype end;    // index of the next header, or the line count
    };
    std::optional<Range> find(const QString& section) const;
    qsizetype sectionEnd(qsizetype header) const;
    void appendSection(const QString& section, const QStringList& lines);

    QStringList lines_;
    QString lineEnd_ = QStringLiteral("\n");
};

} // namespace settings
