#pragma once

// Creating a site file: every table and index of the site schema and the report templates, built
// through the dialect engine so the declared types are the ones the catalog reads back.

#include "jet/SqliteDatabase.h"

#include <QString>
#include <memory>

namespace site {

// The site schema and the report templates a new site starts with, as dialect scripts (entries
// separated by lines holding only "--").
QString schemaText();
QString fixedReportsText();

// True when the file exists and holds at least one byte.
bool siteFileInUse(const QString& path);

// Creates the site at `path`. An existing non-empty file is refused (VbError) unless `force`,
// which removes it first. Returns the open site.
std::unique_ptr<jet::SqliteDatabase> initSite(const QString& path, bool force);

// Opens a site that must already exist; never creates a file.
std::unique_ptr<jet::SqliteDatabase> openExistingSite(const QString& path);

} // namespace site
