#pragma once

// How wide a report column's widest cell is, found from what the column holds rather than from
// every row: each distinct text once, the extremes of a number column, and the distinct days and
// times of a date column. A million rows fit in a fraction of a second, and no rare long cell is
// missed as a sample would miss it.

#include "recordset/Recordset.h"

#include <QString>
#include <functional>

namespace output {

// Measures a shown text in the font it is drawn in.
struct TextMeasure {
    std::function<int(const QString&)> width;
    // No character is wider than this (0 when unknown): a long list of texts stops being read
    // once none left could be wider than the widest found.
    int widestChar = 0;
};

// The width of the widest text the field's cells show under the format ("" for plain text),
// among the rows the Recordset's filter lets through; 0 when no cell shows anything. Texts, and
// dates with only a day or only a time, give their widest exactly. A number gives the widest its
// length could be (digits need not be equally wide), and a date with both a day and a time the
// widest of its days beside the widest of its times, whether or not the two meet in one row.
// Raises 3265 for an unknown field.
int widestShownWidth(const rs::Recordset& records, int field, const QString& format,
                     const TextMeasure& measure);

} // namespace output
