"""Prints an .xls file's first sheet as a reader independent of the writer sees it.

The first line is [sheet count, sheet name, rows, columns]; then one line per cell in row order:
[row, column, type, value, number format]. A date's value is its (year, month, day, hour,
minute, second) under the workbook's own date mode. Every line is JSON.
"""
import json
import sys

import xlrd

TYPES = {
    xlrd.XL_CELL_EMPTY: "empty",
    xlrd.XL_CELL_TEXT: "text",
    xlrd.XL_CELL_NUMBER: "number",
    xlrd.XL_CELL_DATE: "date",
    xlrd.XL_CELL_BOOLEAN: "boolean",
    xlrd.XL_CELL_ERROR: "error",
    xlrd.XL_CELL_BLANK: "blank",
}


def number_format(book, xf_index):
    if xf_index < 0:
        return ""
    return book.format_map[book.xf_list[xf_index].format_key].format_str


def main():
    sys.stdout.reconfigure(encoding="utf-8")
    book = xlrd.open_workbook(sys.argv[1], formatting_info=True)
    sheet = book.sheet_by_index(0)
    lines = [[book.nsheets, sheet.name, sheet.nrows, sheet.ncols]]
    for r in range(sheet.nrows):
        for c in range(sheet.ncols):
            cell = sheet.cell(r, c)
            value = cell.value
            if cell.ctype == xlrd.XL_CELL_DATE:
                value = xlrd.xldate_as_tuple(value, book.datemode)
            lines.append([r, c, TYPES[cell.ctype], value, number_format(book, cell.xf_index)])
    sys.stdout.write("".join(json.dumps(line, ensure_ascii=False) + "\n" for line in lines))


main()
