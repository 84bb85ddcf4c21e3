#pragma once

// The saved sites: the in-memory list the toolbar and the site list dialog work on, its load from
// and save to the settings file, and the reversible scrambling of the passwords stored there.
//
// The list is never without elements: an empty list is one placeholder record (all fields empty
// or zero) with gSiteCount 0, and a new site then takes the placeholder's slot.

#include "vb/VbError.h"

#include <QString>
#include <QStringView>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace settings {

struct Site {
    QString Name; // also the name of the site's own section in the settings file
    QString Address;
    bool DUN = false; // reached over the active dial-up connection
    std::int32_t Port = 0;
    QString Password; // clear text; scrambled only in the file

    friend bool operator==(const Site&, const Site&) = default;
};

extern std::vector<Site> gSites;
extern std::int16_t gSiteCount;

// The scrambling key of every stored password; another key makes existing files unreadable.
inline constexpr QStringView kPasswordKey = u"MnBvLkJh";

// Where subLoadSites and subSaveSites send their failures, with the module and routine name; the
// program installs its error log here. Without one, failures leave no trace.
using FailureLog =
    std::function<void(const vb::VbError& error, const QString& module, const QString& routine)>;
void setFailureLog(FailureLog log);

// Fills the list from the file. A failure is logged and ends the load where it stands, leaving
// gSiteCount as it was (so at start-up the toolbar then offers no sites at all).
void subLoadSites();
// Writes every record, the placeholder of an empty list included, then the "Sites" section, as
// one replacement of the file that keeps the file it replaces as "<file>.bak". A failure is
// logged and ends the save, the file and its backup left as they were.
void subSaveSites();

// The first index whose Name is exactly name (letter case counts), or -1.
std::int16_t fncFindSite(const QString& name);
// Why a site cannot take this name, or nothing when it can. A name that begins with "[" would
// read as a section header in the "Sites" list, and one holding "]" cannot be told from its
// header's end by readers that stop at the first one.
std::optional<QString> siteNameRefusal(const QString& name);
// Appends a site; false, changing nothing, when one of that name exists. Only the list changes.
bool fncAddSite(const QString& name, const QString& address, bool dun, std::int32_t port,
                const QString& password);
// Removes the site of that name from the list, and its section from the file at once (a failed
// file write raises before the list changes).
void subDeleteSite(const QString& name);

// Each character's code page code XOR the key's code at that position, the key repeating.
QString fncXorCipher(const QString& text, const QString& key);
// The cipher text as two upper-case hexadecimal digits per character.
QString fncEncryptPassword(const QString& plain, const QString& key);
// Reads pairs of digits (a last odd one alone) back into characters, then deciphers them. A pair
// that is not hexadecimal gives the character of code 0, which deciphers to the key's character.
QString fncDecryptPassword(const QString& hex, const QString& key);
// The hexadecimal text's value in decimal; "0" for an empty text or one with any character that
// is not a hexadecimal digit. A digit that would take the value past 32 bits is skipped.
QString fncHexToDec(const QString& hex);

} // namespace settings
