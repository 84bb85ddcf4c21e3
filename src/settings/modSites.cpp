#include "settings/modSites.h"

#include "settings/modIni.h"
#include "vb/Convert.h"
#include "vb/Cp1252.h"

#include <algorithm>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace settings {

std::vector<Site> gSites{Site{}};
std::int16_t gSiteCount = 0;

namespace {

FailureLog& failureLog() {
    static FailureLog log;
    return log;
}

void logFailure(const vb::VbError& error, const QString& routine) {
    if (failureLog()) failureLog()(error, u"modSites"_s, routine);
}

QString passwordKey() {
    return kPasswordKey.toString();
}

// The list's length as the 16-bit count the rest of the program keeps.
std::int16_t countOf(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max()))
        vb::raise(vb::err::Overflow);
    return static_cast<std::int16_t>(size);
}

void resetToPlaceholder() {
    gSites = {Site{}};
    gSiteCount = 0;
}

// Fields are filled in order straight into the record, so a value that cannot be converted
// leaves the fields before it set. Lines the section lacks leave their fields empty.
void readSite(Site& site, const QString& name) {
    site.Name = name;
    const QStringList values = fncReadIniSection(name);
    const qsizetype lastLine = values.size() - 2; // the element after the last line is empty
    if (lastLine >= 0) site.Address = values[0];
    if (lastLine >= 1) site.DUN = vb::cbool(values[1]);
    if (lastLine >= 2) site.Port = vb::clng(values[2]);
    if (lastLine >= 3) site.Password = fncDecryptPassword(values[3], passwordKey());
}

void writeSite(IniEdit& edit, const Site& site) {
    edit.deleteSection(site.Name);
    subWriteSiteSection(edit, site.Name, site.Address, site.DUN, site.Port,
                        fncEncryptPassword(site.Password, passwordKey()));
}

int hexDigit(QChar c) {
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9') return u - u'0';
    if (u >= u'A' && u <= u'F') return u - u'A' + 10;
    if (u >= u'a' && u <= u'f') return u - u'a' + 10;
    return -1;
}

} // namespace

void setFailureLog(FailureLog log) {
    failureLog() = std::move(log);
}

void subLoadSites() {
    try {
        const QStringList names = fncReadIniSection(u"Sites"_s);
        if (names.isEmpty()) return resetToPlaceholder();
        // The last element is the empty one after the last name, or a name the buffer cut.
        if (names.size() < 2) vb::raise(vb::err::SubscriptOutOfRange);
        gSites = std::vector<Site>(static_cast<std::size_t>(names.size() - 1));
        for (std::size_t i = 0; i < gSites.size(); ++i)
            readSite(gSites[i], names[static_cast<qsizetype>(i)]);
        gSiteCount = countOf(gSites.size());
    } catch (const vb::VbError& e) {
        logFailure(e, u"subLoadSites"_s);
    }
}

void subSaveSites() {
    try {
        IniEdit edit = openIniFile();
        QString list;
        for (const Site& site : gSites) {
            list += site.Name + u'\0';
            writeSite(edit, site);
        }
        edit.deleteSection(u"Sites"_s);
        edit.writeSection(u"Sites"_s, list);
        saveIniFile(edit);
    } catch (const vb::VbError& e) {
        logFailure(e, u"subSaveSites"_s);
    }
}

std::int16_t fncFindSite(const QString& name) {
    if (gSiteCount < 1) return -1;
    const auto it =
        std::find_if(gSites.begin(), gSites.end(), [&](const Site& s) { return s.Name == name; });
    return it == gSites.end() ? std::int16_t{-1}
                              : countOf(static_cast<std::size_t>(it - gSites.begin()));
}

std::optional<QString> siteNameRefusal(const QString& name) {
    // The file's reader trims every line before it looks for the bracket.
    if (name.trimmed().startsWith(u'[') || name.contains(u']'))
        return u"A site name cannot begin with \"[\" or contain \"]\"."_s;
    return std::nullopt;
}

bool fncAddSite(const QString& name, const QString& address, bool dun, std::int32_t port,
                const QString& password) {
    if (fncFindSite(name) != -1) return false;
    if (gSiteCount != 0) gSites.emplace_back();
    const std::size_t index = gSiteCount == 0 ? 0 : gSites.size() - 1;
    gSiteCount = countOf(index + 1);
    gSites[index] = Site{name, address, dun, port, password};
    return true;
}

void subDeleteSite(const QString& name) {
    const auto it =
        std::find_if(gSites.begin(), gSites.end(), [&](const Site& s) { return s.Name == name; });
    if (it == gSites.end()) return;
    subDeleteIniSection(name);
    if (gSites.size() == 1) return resetToPlaceholder();
    gSites.erase(it);
    gSiteCount = countOf(gSites.size());
}

QString fncXorCipher(const QString& text, const QString& key) {
    if (key.isEmpty()) vb::raise(vb::err::DivisionByZero);
    QString result(text.size(), QChar());
    for (qsizetype i = 0; i < text.size(); ++i)
        result[i] = vb::fromCp1252(vb::toCp1252(text[i]) ^ vb::toCp1252(key[i % key.size()]));
    return result;
}

QString fncEncryptPassword(const QString& plain, const QString& key) {
    QString hex;
    for (const QChar c : fncXorCipher(plain, key))
        hex += u"%1"_s.arg(vb::toCp1252(c), 2, 16, QChar(u'0')).toUpper();
    return hex;
}

QString fncDecryptPassword(const QString& hex, const QString& key) {
    QString collected;
    for (qsizetype i = 0; i < hex.size(); i += 2)
        collected += vb::fromCp1252(static_cast<std::uint8_t>(fncHexToDec(hex.mid(i, 2)).toInt()));
    return fncXorCipher(collected, key);
}

QString fncHexToDec(const QString& hex) {
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    std::int32_t value = 0;
    for (const QChar c : hex) {
        const int digit = hexDigit(c);
        if (digit < 0) return u"0"_s;
        if (value <= (kMax - digit) / 16) value = value * 16 + digit;
    }
    return QString::number(value);
}

} // namespace settings
