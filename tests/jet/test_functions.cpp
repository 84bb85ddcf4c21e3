#include "jet/SqliteFunctions.h"
#include "vb/DateTime.h"

#include "DialectSqlTest.h"

#include <QDateTime>
#include <QRegularExpression>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

class Functions : public dialecttest::DialectSqlTest {};

} // namespace

TEST_F(Functions, ConversionsRoundHalfToEvenAndRaiseTheLanguagesErrors) {
    expectAll({
        {"jet_cint(2.5)", "2"},
        {"jet_cint(3.5)", "4"},
        {"jet_cint(-2.5)", "-2"},
        {"jet_cint('12')", "12"},
        {"jet_cint(32767.5)", "error: 6: Overflow"},
        {"jet_cint('abc')", "error: 13: Type mismatch"},
        {"jet_cint(NULL)", "error: 94: Invalid use of Null"},
        {"jet_clng(-2.5)", "-2"},
        {"jet_clng(2147483647.5)", "error: 6: Overflow"},
        {"jet_cdbl('1.5')", "1.5"},
        {"jet_csng(0.1)", "S:0.10000000149011612"}, // the Single itself, tagged as one
        {"jet_cstr(jet_csng(0.0000234))", "'0.0000234'"},
        {"jet_cstr(jet_csng(0.00002342))", "'2.342E-05'"},
        {"jet_cstr(jet_tag_single(895649.847))", "'895649.9'"},
        {"jet_cstr(0.0000234)", "'0.0000234'"},
        {"jet_cstr(2.342342133E-07)", "'2.342342133E-07'"},
        {"jet_ccur(1.23456)", "C:1.2346"},
        {"jet_cbool('True')", "B:-1"},
        {"jet_cbool(0)", "B:0"},
        {"jet_cbool('abc')", "error: 13: Type mismatch"},
        {"jet_cstr(2.5)", "'2.5'"},
        {"jet_cstr(jet_tag_bool(1))", "'True'"},
        {"jet_cstr(jet_tag_date(37703.5))", "'3/23/2003 12:00:00 PM'"},
        {"jet_cstr(jet_tag_currency(1.5))", "'1.5'"},
        {"jet_cstr(NULL)", "error: 94: Invalid use of Null"},
        {"jet_cdate('2003/03/23')", "D:37703.0"},
        {"jet_cdate(NULL)", "error: 94: Invalid use of Null"},
        {"jet_cvdate(NULL)", "Null"},
        {"jet_cvdate(37703.25)", "D:37703.25"},
        {"jet_cbyte(254.5)", "254"},
        {"jet_cbyte(255.5)", "error: 6: Overflow"},
        {"jet_cbyte(-0.5)", "0"},
        {"jet_cbyte(-0.6)", "error: 6: Overflow"},
        {"jet_cbyte(jet_tag_bool(1))", "error: 6: Overflow"}, // True is -1
        {"jet_cbyte(NULL)", "error: 94: Invalid use of Null"},
        {"jet_cvar(NULL)", "Null"},
        {"jet_cvar(jet_tag_date(1.5))", "D:1.5"},
    });
}

TEST_F(Functions, TagsMarkStoredValuesAndReadStrayText) {
    expectAll({
        {"jet_tag_date(37703)", "D:37703.0"},
        {"jet_tag_date('2003/03/23')", "D:37703.0"},
        {"jet_tag_date(NULL)", "Null"},
        {"jet_tag_currency('1.5')", "C:1.5"},
        {"jet_tag_bool(1)", "B:-1"},
        {"jet_tag_bool(0)", "B:0"},
        {"jet_tag_date('soon')", "error: 13: Type mismatch"},
        {"jet_tag_single(0.1)", "S:0.10000000149011612"}, // what SQL computed is narrowed
        {"jet_tag_single('1.5')", "S:1.5"},
        {"jet_tag_single(NULL)", "Null"},
        {"jet_tag_single(1e39)", "error: 6: Overflow"},
    });
}

TEST_F(Functions, RoundIsBankersAtEveryPlaceAndKeepsTheKind) {
    expectAll({
        {"jet_round(2.5)", "2.0"},
        {"jet_round(3.5)", "4.0"},
        {"jet_round(-2.5)", "-2.0"},
        {"jet_round(0.5)", "0.0"},
        {"jet_round(0.125, 2)", "0.12"},
        {"jet_round(0.135, 2)", "0.14"},
        // As written, not as the nearest Double (2.67499999...) would round.
        {"jet_round(2.675, 2)", "2.68"},
        {"jet_round(1.005, 2)", "1.0"},
        {"jet_round(1234.5678, 2)", "1234.57"},
        {"jet_round(0.004, 2)", "0.0"},
        {"jet_round(123, 1)", "123"},
        {"jet_round(jet_tag_currency(1.2345), 3)", "C:1.234"},
        {"jet_round(jet_tag_currency(1.2355), 3)", "C:1.236"},
        {"jet_round(jet_tag_date(37703.5))", "D:37704.0"},
        {"jet_round('2.5')", "2.0"},
        {"jet_round(1.5, -1)", "error: 5: Invalid procedure call or argument"},
        {"jet_round(NULL)", "Null"},
    });
}

TEST_F(Functions, NumberFunctions) {
    expectAll({
        {"jet_abs(-5)", "5"},
        {"jet_abs(-2147483648)", "2147483648.0"}, // past Long: widens
        {"jet_abs(jet_tag_currency(-1.5))", "C:1.5"},
        {"jet_abs(jet_tag_bool(1))", "1"},
        {"jet_abs(NULL)", "Null"},
        {"jet_int(-2.5)", "-3.0"},
        {"jet_fix(-2.5)", "-2.0"},
        {"jet_int(jet_tag_currency(-1.5))", "C:-2.0"},
        {"jet_fix(jet_tag_currency(-1.5))", "C:-1.0"},
        {"jet_int(jet_tag_date(37703.75))", "D:37703.0"},
        {"jet_int(7)", "7"},
        {"jet_int('x')", "error: 13: Type mismatch"},
        {"jet_sgn(-0.1)", "-1"},
        {"jet_sgn('3')", "1"},
        {"jet_sgn(0)", "0"},
        {"jet_sqr(16)", "4.0"},
        {"jet_sqr(-1)", "error: 5: Invalid procedure call or argument"},
        {"jet_sqr(NULL)", "Null"},
        {"jet_exp(0)", "1.0"},
        {"jet_exp(1000)", "error: 6: Overflow"},
        {"jet_log(1)", "0.0"},
        {"jet_log(0)", "error: 5: Invalid procedure call or argument"},
        {"jet_atn(0)", "0.0"},
        {"jet_cos('0')", "1.0"},
        {"jet_hex(255.5)", "'100'"}, // rounded half to even first
        {"jet_hex(-1)", "'FFFFFFFF'"},
        {"jet_oct(8)", "'10'"},
        {"jet_hex(NULL)", "Null"},
        {"jet_val(' 1 2.5abc')", "12.5"},
        {"jet_val('&H10')", "16.0"},
        {"jet_val(NULL)", "error: 94: Invalid use of Null"},
        {"jet_str(5)", "' 5'"},
        {"jet_str(-0.5)", "'-.5'"},
        {"jet_str(NULL)", "Null"},
    });
}

TEST_F(Functions, PartitionNamesTheRangeANumberFallsInPaddedToSortInOrder) {
    expectAll({
        {"jet_partition(-5, 0, 99, 5)", "'   : -1'"},
        {"jet_partition(97, 0, 99, 5)", "' 95: 99'"},
        {"jet_partition(100, 0, 99, 5)", "'100:   '"},
        {"jet_partition(25, 20, 199, 10)", "'  20:  29'"},
        {"jet_partition(1005, 100, 1010, 20)", "' 1000: 1010'"}, // the last range ends at stop
        {"jet_partition(1011, 100, 1010, 20)", "' 1011:     '"},
        {"jet_partition(100, 0, 1000, 1)", "'  100:  100'"},
        {"jet_partition(5000, 0, 1000, 1)", "' 5000: 5000'"}, // wherever the number lies
        {"jet_partition(24.5, 20, 199, 4.5)", "'  24:  27'"}, // every part rounded to even
        {"jet_partition(NULL, 0, 99, 5)", "Null"},
        {"jet_partition(1, -1, 99, 5)", "error: 5: Invalid procedure call or argument"},
        {"jet_partition(1, 0, 99, 0)", "error: 5: Invalid procedure call or argument"},
    });
}

TEST_F(Functions, OperatorsTheGeneratorCannotWriteNatively) {
    expectAll({
        {"jet_concat('a', NULL)", "'a'"},
        {"jet_concat(NULL, 'b')", "'b'"},
        {"jet_concat(NULL, NULL)", "Null"},
        {"jet_concat(NULL, 2)", "'2'"}, // still text
        {"jet_concat('a', 1)", "'a1'"},
        {"jet_concat(1.5, 'x')", "'1.5x'"},
        {"jet_concat(jet_tag_date(37703), '')", "'3/23/2003'"},
        {"jet_concat(jet_tag_bool(-1), '!')", "'True!'"},
        {"jet_concat('é', 'è')", "'éè'"},
        // + - * / and unary - on text read it as CDbl does, or refuse it.
        {"jet_add('1,025', 12)", "1037.0"},
        {"jet_add('a', 'b')", "'ab'"}, // two texts are joined
        {"jet_add('a', 1)", "error: 13: Type mismatch"},
        {"jet_sub(12, 'foo')", "error: 13: Type mismatch"},
        {"jet_sub(12, ' 2.5 ')", "9.5"},
        {"jet_mul('3', '4')", "12.0"},
        {"jet_div('1', 4)", "0.25"},
        {"jet_div('1', '0')", "error: 11: Division by zero"},
        {"jet_neg('5')", "-5.0"},
        {"jet_neg('x')", "error: 13: Type mismatch"},
        // Null propagates; Dates, Currency and Yes/No values keep the language's kinds.
        {"jet_add(NULL, '1')", "Null"},
        {"jet_sub('1', NULL)", "Null"},
        {"jet_neg(NULL)", "Null"},
        {"jet_add(jet_tag_date(37703.5), '1')", "D:37704.5"},
        {"jet_sub(jet_tag_date(37703.5), '0.5')", "D:37703.0"},
        {"jet_add(jet_tag_currency(1.25), '1.5')", "C:2.75"},
        {"jet_mul(jet_tag_currency(1.25), '3')", "C:3.75"},
        {"jet_add(jet_tag_bool(1), '1')", "0.0"},
        {"jet_neg(jet_tag_bool(1))", "1"},
        {"jet_add(jet_tag_single(1.5), '1')", "2.5"},
        // \ and Mod round their operands half to even first.
        {"jet_intdiv(7.5, 2)", "4"},
        {"jet_intdiv(6.5, 2)", "3"},
        {"jet_intdiv(-7, 2)", "-3"},
        {"jet_intdiv(5, 0.4)", "error: 11: Division by zero"},
        {"jet_intdiv(NULL, 2)", "Null"},
        {"jet_mod(7.5, 2)", "0"},
        {"jet_mod(6.5, 4)", "2"},
        {"jet_mod(-7, 3)", "-1"},
        {"jet_mod(5, 0)", "error: 11: Division by zero"},
        {"jet_pow(2, 10)", "1024.0"},
        {"jet_pow(-8, 0.5)", "error: 5: Invalid procedure call or argument"},
        {"jet_pow(NULL, 2)", "Null"},
        {"jet_bool(5)", "B:-1"},
        {"jet_bool(0.5)", "B:-1"},
        {"jet_bool(0)", "B:0"},
        {"jet_bool(NULL)", "Null"},
        {"jet_bool('yes')", "error: 13: Type mismatch"},
        // The "$" form of a function that may give Null.
        {"jet_dollar('a')", "'a'"},
        {"jet_dollar(NULL)", "error: 94: Invalid use of Null"},
    });
}

// A value written into a typed column goes in as that column's kind, or fails the statement.
TEST_F(Functions, WrittenValuesBecomeTheirColumnsKindOrRaise) {
    expectAll({
        {"jet_to_long(2147483647)", "2147483647"},
        {"jet_to_long(2147483648)", "error: 6: Overflow"},
        {"jet_to_long(12.5)", "12"},
        {"jet_to_long('13.5')", "14"},
        {"jet_to_long(jet_tag_bool(1))", "B:-1"}, // a tag is never stored
        {"jet_to_long('abc')", "error: 13: Type mismatch"},
        {"jet_to_long('')", "error: 13: Type mismatch"},
        {"jet_to_long(NULL)", "Null"},
        {"jet_to_short(-32768)", "-32768"},
        {"jet_to_short(32768)", "error: 6: Overflow"},
        {"jet_to_short('32767.5')", "error: 6: Overflow"},
        {"jet_to_byte(255)", "255"},
        {"jet_to_byte(256)", "error: 6: Overflow"},
        {"jet_to_byte(-1)", "error: 6: Overflow"},
        {"jet_to_byte(jet_tag_bool(1))", "error: 6: Overflow"},
        {"jet_to_single(16777216)", "16777216"},
        {"jet_to_single(16777217)", "16777216.0"},
        {"jet_to_single('0.1')", "0.10000000149011612"},
        {"jet_to_single(1e39)", "error: 6: Overflow"},
        {"jet_to_double(3)", "3"},
        {"jet_to_double('x')", "error: 13: Type mismatch"},
        // A date is its serial, not its place on the linear day line.
        {"jet_to_double(jet_tag_date(-1.25))", "-2.75"},
        {"jet_to_currency(12)", "12"},
        {"jet_to_currency(1.23456)", "1.2346"},
        {"jet_to_currency(0.1 + 0.2)", "0.3"},
        {"jet_to_currency(jet_tag_date(-1.25))", "-2.75"},
        {"jet_to_currency(1e15)", "error: 6: Overflow"},
        {"jet_to_date(-2.75)", "-1.25"},
        {"jet_to_date(jet_tag_date(-1.25))", "D:-1.25"},
        {"jet_to_date('soon')", "error: 13: Type mismatch"},
        {"jet_to_date(NULL)", "Null"},
    });
}

TEST_F(Functions, ChoicesAndTests) {
    expectAll({
        {"jet_iif(NULL, 'yes', 'no')", "'no'"},
        {"jet_iif(1, 'yes', 'no')", "'yes'"},
        {"jet_iif(0, 'yes', 'no')", "'no'"},
        {"jet_iif('True', 'yes', 'no')", "'yes'"},
        {"jet_iif('abc', 1, 2)", "error: 13: Type mismatch"},
        {"jet_iif(1, jet_tag_date(37703), NULL)", "D:37703.0"}, // the tag comes through
        {"jet_nz(NULL)", "''"},
        {"jet_nz(NULL, 0)", "0"},
        {"jet_nz(5, 0)", "5"},
        {"jet_nz(jet_tag_date(1.5))", "D:1.5"},
        {"jet_isnull(NULL)", "B:-1"},
        {"jet_isnull('')", "B:0"},
        {"jet_isnumeric('1,234.5')", "B:-1"},
        {"jet_isnumeric('12abc')", "B:0"},
        {"jet_isnumeric(jet_tag_date(1))", "B:0"},
        {"jet_isnumeric(NULL)", "B:0"},
        {"jet_isdate('2003/03/23')", "B:-1"},
        {"jet_isdate('abc')", "B:0"},
        {"jet_isdate(37703)", "B:0"},
        {"jet_isempty(NULL)", "B:0"},
    });
}

TEST_F(Functions, ChooseTakesTheRoundedIndexAndSwitchTheFirstTrueCondition) {
    expectAll({
        {"jet_choose(2, 'a', 'b')", "'b'"},
        {"jet_choose(1.5, 'a', 'b', 'c')", "'b'"}, // rounded as CInt rounds: half to even
        {"jet_choose(2.5, 'a', 'b', 'c')", "'b'"},
        {"jet_choose(0.4, 'a')", "Null"},
        {"jet_choose(3, 'a', 'b')", "Null"},
        {"jet_choose(1, jet_tag_currency(2), 'b')", "C:2.0"},
        {"jet_choose(1, NULL, 'b')", "Null"},
        {"jet_choose(NULL, 'a')", "error: 94: Invalid use of Null"},
        {"jet_choose(40000, 'a')", "error: 6: Overflow"},
        {"jet_switch(0, 'a', 1, 'b', 1, 'c')", "'b'"},
        {"jet_switch(NULL, 'a', 'True', 'b')", "'b'"},
        {"jet_switch(0, 'a')", "Null"},
        {"jet_switch(1, NULL, 1, 'b')", "Null"},
        {"jet_switch('abc', 'a')", "error: 13: Type mismatch"},
        {"jet_switch(1, 'a', 'abc', 'b')", "'a'"}, // the scan ends at the first truth
        {"jet_switch(0, 'a', 1)", "error: 5: Invalid procedure call or argument"},
    });
}

TEST_F(Functions, CuttingText) {
    expectAll({
        {"jet_left('abcdef', 2)", "'ab'"},
        {"jet_left('abc', 10)", "'abc'"},
        {"jet_left(12345, 2)", "'12'"},
        {"jet_left(NULL, 2)", "Null"},
        {"jet_right('abcdef', 2)", "'ef'"},
        {"jet_right('abc', 10)", "'abc'"},
        {"jet_mid('abcdef', 3)", "'cdef'"},
        {"jet_mid('abcdef', 3, 2)", "'cd'"},
        {"jet_mid('abc', 10)", "''"},
        {"jet_mid('abc', 4, 2)", "''"},
        {"jet_mid('héllo wörld', 2, 4)", "'éllo'"},
        {"jet_right('wörld', 4)", "'örld'"},
        {"jet_mid(NULL, 1)", "Null"},
        {"jet_left('abc', -1)", "error: 5: Invalid procedure call or argument"},
        {"jet_right('abc', -1)", "error: 5: Invalid procedure call or argument"},
        {"jet_mid('abc', 1, -1)", "error: 5: Invalid procedure call or argument"},
        {"jet_mid('abc', 0)", "error: 5: Invalid procedure call or argument"},
        {"jet_left('abc', NULL)", "error: 94: Invalid use of Null"},
        {"jet_left('abcdef', 2.5)", "'ab'"}, // lengths round half to even
        {"jet_len('héllo')", "5"},
        {"jet_len(12.5)", "4"},
        {"jet_len('')", "0"},
        {"jet_len(NULL)", "Null"},
        {"jet_trim('  a b  ')", "'a b'"},
        {"jet_ltrim('  a ')", "'a '"},
        {"jet_rtrim('  a ')", "'  a'"},
        {"jet_trim(char(9) || ' a ')", "'\t a'"}, // blanks only
        {"jet_trim(' é ')", "'é'"},
        {"jet_ucase('abc1')", "'ABC1'"},
        {"jet_ucase('é')", "'É'"},
        {"jet_lcase('ÀB')", "'àb'"},
        {"jet_ucase(NULL)", "Null"},
        {"jet_space(3)", "'   '"},
        {"jet_space(-1)", "error: 5: Invalid procedure call or argument"},
        {"jet_space(2000000000)", "error: string or blob too big"},
        {"jet_string(3, 'xy')", "'xxx'"},
        {"jet_string(3, 65)", "'AAA'"},
        {"jet_string(2, 321)", "'AA'"}, // character codes wrap at 256
        {"jet_string(2, NULL)", "Null"},
        {"jet_string(2, '')", "error: 5: Invalid procedure call or argument"},
        {"jet_chr(65)", "'A'"},
        {"jet_chr(233)", "'é'"},
        {"jet_chr(256)", "error: 5: Invalid procedure call or argument"},
        {"jet_chr(128)", "'€'"},        // the code page's, not Latin-1's
        {"jet_chr(129)", "'\xc2\x81'"}, // a code the page leaves free keeps its control
        {"jet_asc('abc')", "97"},
        {"jet_asc('€')", "128"},
        {"jet_asc('é')", "233"},
        {"jet_asc('中')", "63"}, // no character of the page: "?"
        {"jet_asc('')", "error: 5: Invalid procedure call or argument"},
    });
}

TEST_F(Functions, WideCharacterCodesCoverUtf16AsTheLanguagesIntegerHoldsIt) {
    expectAll({
        {"jet_chrw(8364)", "'€'"},
        {"jet_chrw(-8192)", "'\xee\x80\x80'"}, // U+E000: -8192 + 65536
        {"jet_chrw(65535.4)", "'\xef\xbf\xbf'"},
        {"jet_chrw(65536)", "error: 5: Invalid procedure call or argument"},
        {"jet_chrw(-32769)", "error: 5: Invalid procedure call or argument"},
        {"jet_ascw('€uro')", "8364"},
        {"jet_ascw('\xef\xbf\xbf')", "-1"}, // U+FFFF is -1 as an Integer
        {"jet_ascw('')", "error: 5: Invalid procedure call or argument"},
    });
}

TEST_F(Functions, StrConvChangesLetterCaseAndStrReverseTurnsTextAround) {
    expectAll({
        {"jet_strconv('abc Déf', 1)", "'ABC DÉF'"},
        {"jet_strconv('ABC Déf', 2)", "'abc déf'"},
        {"jet_strconv('hELLO wORLD', 3)", "'Hello World'"},
        {"jet_strconv('o''neil mc-coy', 3)", "'O'neil Mc-coy'"}, // only blanks part words
        {"jet_strconv('a' || char(9) || 'b' || char(13) || 'c', 3)", "'A\tB\rC'"},
        {"jet_strconv('aBc', 0)", "'aBc'"},
        {"jet_strconv(NULL, 1)", "Null"},
        {"jet_strconv('a', 4)", "error: 5: Invalid procedure call or argument"},
        {"jet_strconv('a', 64)", "error: 5: Invalid procedure call or argument"},
        {"jet_strconv('a', NULL)", "error: 94: Invalid use of Null"},
        {"jet_strconv('a', 1, NULL)", "error: 94: Invalid use of Null"},
        {"jet_strreverse('abc')", "'cba'"},
        {"jet_strreverse(12.5)", "'5.21'"},
        {"jet_strreverse('a😀é')", "'é😀a'"}, // a pair of halves stays one character
        {"jet_strreverse(NULL)", "error: 94: Invalid use of Null"},
    });
}

TEST_F(Functions, SearchingAndComparingIgnoreCaseUnlessToldNot) {
    expectAll({
        {"jet_instr('abcABC', 'C')", "3"},
        {"jet_instr(4, 'abcABC', 'c')", "6"},
        {"jet_instr(1, 'abcABC', 'C', 0)", "6"},
        {"jet_instr('xÀBC', 'àb')", "2"},
        {"jet_instr('a_b', 'A_')", "1"},
        {"jet_instr('a[b', '{')", "0"}, // [ and { differ by the bit that folds letters
        {"jet_instr('abc', 'x')", "0"},
        {"jet_instr('', 'a')", "0"},
        {"jet_instr('abc', '')", "1"},
        {"jet_instr(5, 'abc', 'a')", "0"},
        {"jet_instr(NULL, 'a')", "Null"},
        {"jet_instr('a', NULL)", "Null"},
        {"jet_instr(0, 'abc', 'a')", "error: 5: Invalid procedure call or argument"},
        {"jet_instr(NULL, 'abc', 'a')", "error: 94: Invalid use of Null"},
        {"jet_instr(1, 'abc', 'b', 7)", "error: 5: Invalid procedure call or argument"},
        {"jet_instrrev('abcabc', 'B')", "5"},
        {"jet_instrrev('abcabc', 'b', 4)", "2"},
        {"jet_instrrev('abcabc', 'bc', 2)", "0"}, // must end by start
        {"jet_instrrev('abcabc', 'B', -1, 0)", "0"},
        {"jet_instrrev('abc', '')", "3"},
        {"jet_instrrev('abc', 'a', 0)", "error: 5: Invalid procedure call or argument"},
        {"jet_instrrev(NULL, 'a')", "Null"},
        {"jet_strcomp('abc', 'ABC')", "0"},
        {"jet_strcomp('abc', 'ABD')", "-1"},
        {"jet_strcomp('abc', 'ABC', 0)", "1"},
        {"jet_strcomp('_', 'A')", "-1"}, // folded to lower case, as QString compares
        {"jet_strcomp('Éa', 'éB')", "-1"},
        {"jet_strcomp('a', NULL)", "Null"},
        {"jet_replace('aXbxc', 'x', '-')", "'a-b-c'"},
        {"jet_replace('aXbxc', 'x', '-', 1, -1, 0)", "'aXb-c'"},
        {"jet_replace('aXbxc', 'x', '-', 3)", "'b-c'"}, // the result starts at start
        {"jet_replace('xxx', 'x', 'y', 1, 2)", "'yyx'"},
        {"jet_replace('aa', 'a', 'aa')", "'aaaa'"}, // inserted text is not searched again
        {"jet_replace('ÀxÀ', 'à', 'a')", "'axa'"},
        {"jet_replace('abc', '', 'z')", "'abc'"},
        {"jet_replace('abc', 'a', 'b', 9)", "''"},
        {"jet_replace(NULL, 'a', 'b')", "error: 94: Invalid use of Null"},
        {"jet_replace('abc', 'a', 'b', 0)", "error: 5: Invalid procedure call or argument"},
    });
}

TEST_F(Functions, FormatTellsTaggedDatesFromNumbers) {
    expectAll({
        {"jet_format(jet_tag_date(37703.5), 'yyyy/mm/dd hh:nn:ss')", "'2003/03/23 12:00:00'"},
        {"jet_format(jet_tag_date(37703.5))", "'3/23/2003 12:00:00 PM'"},
        {"jet_format(37703.5)", "'37703.5'"},
        {"jet_format(jet_tag_date(37703.5), '0.00')", "'37703.50'"},
        {"jet_format(1234.5, '#,##0.00')", "'1,234.50'"},
        {"jet_format(jet_tag_currency(1234.5), 'Currency')", "'$1,234.50'"},
        {"jet_format(jet_tag_bool(1), 'Yes/No')", "'Yes'"},
        {"jet_format(jet_tag_date(37703), 'ww')", "'13'"},
        {"jet_format(jet_tag_date(37703), 'ww', 2)", "'12'"}, // weeks from Monday
        {"jet_format(jet_tag_date(37703), 'ww', 9)",
         "error: 5: Invalid procedure call or argument"},
        {"jet_format(NULL)", "Null"},
        {"jet_format(NULL, '0.0')", "''"}, // Null only without a pattern
        {"jet_format(jet_tag_date(37703.5), NULL)", "'3/23/2003 12:00:00 PM'"},
        // A day written out and read back is that day's date, with no time.
        {"jet_cdate(jet_format(jet_tag_date(37703.75), 'yyyy/mm/dd'))", "D:37703.0"},
    });
}

TEST_F(Functions, FormatNumberCurrencyAndPercent) {
    expectAll({
        {"jet_formatnumber(10000000, 1, -1, -1, 0)", "'10000000.0'"},
        {"jet_formatnumber(jet_tag_currency(1.2345), 4)", "'1.2345'"},
        {"jet_formatnumber(jet_tag_date(37703.5))", "'37,703.50'"},
        {"jet_formatnumber(NULL, 2)", "Null"},
        {"jet_formatnumber('abc')", "error: 13: Type mismatch"},
        {"jet_formatnumber(1, -2)", "error: 5: Invalid procedure call or argument"},
        {"jet_formatnumber(1, NULL)", "error: 94: Invalid use of Null"},
        {"jet_formatnumber(1, 2000000000)", "error: string or blob too big"},
        {"jet_formatcurrency(-1234.5, -1, -2, 0)", "'-$1,234.50'"},
        {"jet_formatcurrency(jet_tag_currency(0.5), 2, 0)", "'$.50'"},
        {"jet_formatpercent(-0.5, 0, -2, -1)", "'(50%)'"},
    });
}

TEST_F(Functions, FormatDateTime) {
    expectAll({
        {"jet_formatdatetime(jet_tag_date(37623), 1)", "'Thursday, January 02, 2003'"},
        {"jet_formatdatetime('2003/03/23 14:05', 4)", "'14:05'"},
        {"jet_formatdatetime(NULL, 1)", "Null"},
        {"jet_formatdatetime(jet_tag_date(37703), 5)",
         "error: 5: Invalid procedure call or argument"},
    });
}

TEST_F(Functions, PatternsThatChangeFromRowToRowAreNotMixedUp) {
    exec("CREATE TABLE p (id INTEGER PRIMARY KEY, pattern TEXT, interval TEXT);"
         "INSERT INTO p (pattern, interval) VALUES ('yyyy', 'yyyy'), ('mm', 'm'),"
         " ('yyyy', 'd'), ('mmm', 'yyyy')");
    EXPECT_EQ(scalar("SELECT group_concat(jet_format(jet_tag_date(37703.5), pattern), ',') "
                     "FROM p ORDER BY id"),
              "2003,03,2003,Mar");
    EXPECT_EQ(scalar("SELECT group_concat(jet_datepart(interval, jet_tag_date(37703.5)), ',') "
                     "FROM p ORDER BY id"),
              "2003,3,23,2003");
}

TEST_F(Functions, DatesBeforeDayZeroTravelOnTheLinearLine) {
    expectAll({
        {"jet_format(jet_tag_date(-0.75), 'yyyy-mm-dd hh:nn')", "'1899-12-29 06:00'"},
        {"jet_cdate('1899-12-29 18:00')", "D:-0.25"}, // serial -1.75
        {"jet_dateadd('h', 6, jet_tag_date(-1.0))", "D:-0.75"},
        {"jet_hour(jet_tag_date(-0.25))", "18"},
        {"jet_day(jet_tag_date(-1.5))", "28"},
        {"jet_datediff('h', jet_tag_date(-0.75), jet_tag_date(0.25))", "24"},
        {"jet_dateserial(1899, 12, 29)", "D:-1.0"},
        {"jet_timeserial(-6, 0, 0)", "D:-0.25"}, // 18:00 the day before
        {"jet_year(jet_tag_date(-657434))", "100"},
    });
    exec("CREATE TABLE t (d REAL);"
         "INSERT INTO t VALUES (jet_cdate('1899-12-30 06:00')), (jet_cdate('1899-12-29 18:00')),"
         " (jet_cdate('1899-12-29 06:00'))");
    EXPECT_EQ(column("SELECT jet_format(jet_tag_date(d), 'mm-dd hh:nn') FROM t ORDER BY d"),
              (std::vector<std::string>{"12-29 06:00", "12-29 18:00", "12-30 06:00"}));
}

TEST_F(Functions, DateFunctions) {
    expectAll({
        {"jet_year('2003/03/23')", "2003"},
        {"jet_month(jet_tag_date(37703.5))", "3"},
        {"jet_day(jet_tag_date(37703.5))", "23"},
        {"jet_hour(jet_cdate('2003/03/23 14:05:09'))", "14"},
        {"jet_minute(jet_cdate('2003/03/23 14:05:09'))", "5"},
        {"jet_second(jet_cdate('2003/03/23 14:05:09'))", "9"},
        {"jet_year(NULL)", "Null"},
        {"jet_year('soon')", "error: 13: Type mismatch"},
        {"jet_weekday(jet_tag_date(37703))", "1"},
        {"jet_weekday(jet_tag_date(37703), 2)", "7"},
        {"jet_datepart('q', jet_tag_date(37703))", "1"},
        {"jet_datepart('y', jet_tag_date(37703))", "82"},
        {"jet_datepart('ww', jet_tag_date(37703), 2)", "12"},
        {"jet_datepart('YYYY', NULL)", "Null"},
        {"jet_dateadd('m', 1, '2003/01/31')", "D:37680.0"}, // clamps to the month's end
        {"jet_dateadd('d', 1, NULL)", "Null"},
        {"jet_dateadd('d', NULL, jet_tag_date(1))", "error: 94: Invalid use of Null"},
        {"jet_dateadd('x', 1, jet_tag_date(1))", "error: 5: Invalid procedure call or argument"},
        {"jet_datediff('d', '2003/03/01', '2003/03/23')", "22"},
        {"jet_datediff('yyyy', '2002/12/31', '2003/01/01')", "1"},
        {"jet_datediff('ww', jet_tag_date(37703), jet_tag_date(37704), 2)", "1"},
        {"jet_datediff('s', jet_tag_date(-657434), jet_tag_date(2958465))", "error: 6: Overflow"},
        {"jet_datediff('d', NULL, jet_tag_date(1))", "Null"},
        {"jet_datevalue('2003/03/23 14:00')", "D:37703.0"},
        {"jet_timevalue('2003/03/23 18:00')", "D:0.75"},
        {"jet_datevalue(NULL)", "Null"},
        {"jet_dateserial(2003, 14, 1)", "D:38018.0"},
        {"jet_dateserial(NULL, 1, 1)", "error: 94: Invalid use of Null"},
        {"jet_timeserial(18, 0, 0)", "D:0.75"},
        {"jet_weekdayname(1)", "'Sunday'"},
        {"jet_weekdayname(1, 1, 2)", "'Mon'"},
        {"jet_weekdayname(8)", "error: 5: Invalid procedure call or argument"},
        {"jet_monthname(3)", "'March'"},
        {"jet_monthname(3, 1)", "'Mar'"},
        {"jet_monthname(13)", "error: 5: Invalid procedure call or argument"},
    });
}

TEST_F(Functions, TheClockReadsTaggedDates) {
    const std::string today = describe("jet_date()");
    ASSERT_EQ(today.substr(0, 2), "D:");
    EXPECT_EQ(today.substr(today.size() - 2), ".0");
    EXPECT_EQ(scalar("SELECT jet_now() >= jet_date() AND jet_now() < jet_date() + 1"), "1");
    EXPECT_EQ(scalar("SELECT jet_time() >= 0 AND jet_time() < 1"), "1");
    EXPECT_EQ(describe("jet_year(jet_date())").substr(0, 2), "20");
    // Date$ and Time$ in their fixed forms, whatever the regional settings; Timer as a Single.
    const QDateTime before = QDateTime::currentDateTime();
    const QString dateText = QString::fromStdString(scalar("SELECT jet_date$()"));
    const QString timeText = QString::fromStdString(scalar("SELECT jet_time$()"));
    const double timer = std::stod(scalar("SELECT jet_timer()"));
    const QDateTime after = QDateTime::currentDateTime();
    EXPECT_TRUE(dateText == before.toString(QStringLiteral("MM-dd-yyyy")) ||
                dateText == after.toString(QStringLiteral("MM-dd-yyyy")))
        << dateText.toStdString();
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^[0-2]\\d:[0-5]\\d:[0-5]\\d$"))
                    .match(timeText)
                    .hasMatch())
        << timeText.toStdString();
    EXPECT_GE(timer, 0);
    EXPECT_LT(timer, vb::kSecondsPerDay);
    // A Single to the hundredth.
    EXPECT_EQ(static_cast<float>(timer), static_cast<float>(std::round(timer * 100) / 100));
    EXPECT_EQ(scalar("SELECT typeof(jet_timer())"), "real");
}

TEST_F(Functions, FirstAndLastTakeTheGroupsEndRowsNullsIncluded) {
    exec("CREATE TABLE t (id INTEGER PRIMARY KEY, g INTEGER, v TEXT, d REAL);"
         "CREATE INDEX ix ON t (g, id);"
         "INSERT INTO t (g, v, d) VALUES (1, NULL, 1), (1, 'b', 2), (1, 'c', 3),"
         " (2, 'x', 4), (2, NULL, NULL)");
    EXPECT_EQ(column("SELECT test_describe(jet_first(v)) || ' ' || test_describe(jet_last(v)) "
                     "FROM t GROUP BY g ORDER BY g"),
              (std::vector<std::string>{"Null 'c'", "'x' Null"}));
    EXPECT_EQ(column("SELECT test_describe(jet_last(jet_tag_date(d))) FROM t WHERE g = 1"),
              (std::vector<std::string>{"D:3.0"}));
    EXPECT_EQ(scalar("SELECT test_describe(jet_first(v)) FROM t WHERE g = 3"), "Null");
}

TEST_F(Functions, StDevAndVarDescribeASampleStDevPAndVarPThePopulation) {
    exec("CREATE TABLE t (g INTEGER, v);"
         "INSERT INTO t VALUES (1, 2), (1, 4), (1, 4), (1, 4), (1, 5), (1, 5), (1, 7), (1, 9),"
         " (2, 1), (2, NULL), (2, 3), (3, 5), (3, NULL), (4, 'abc')");
    EXPECT_NEAR(std::stod(scalar("SELECT jet_var(v) FROM t WHERE g = 1")), 32.0 / 7, 1e-12);
    EXPECT_NEAR(std::stod(scalar("SELECT jet_stdev(v) FROM t WHERE g = 1")), 2.138089935299395,
                1e-12);
    EXPECT_EQ(scalar("SELECT jet_var(v) FROM t WHERE g = 2"), "2.0");
    EXPECT_EQ(scalar("SELECT test_describe(jet_stdev(v)) FROM t WHERE g = 3"), "Null");
    EXPECT_EQ(scalar("SELECT test_describe(jet_var(v)) FROM t WHERE g = 9"), "Null");
    EXPECT_EQ(scalar("SELECT jet_var(v) FROM t WHERE g = 4"), "error: 13: Type mismatch");
    EXPECT_EQ(scalar("SELECT jet_varp(v) FROM t WHERE g = 1"), "4.0");
    EXPECT_EQ(scalar("SELECT jet_stdevp(v) FROM t WHERE g = 1"), "2.0");
    EXPECT_EQ(scalar("SELECT jet_stdevp(v) FROM t WHERE g = 3"), "0.0");
    EXPECT_EQ(scalar("SELECT test_describe(jet_varp(v)) FROM t WHERE g = 9"), "Null");
    // Far from zero, where a sum of squares would cancel to nothing.
    exec("CREATE TABLE big (v REAL); INSERT INTO big VALUES (1e9 + 4), (1e9 + 7), (1e9 + 13),"
         " (1e9 + 16)");
    EXPECT_EQ(scalar("SELECT jet_var(v) FROM big"), "30.0");
}

TEST_F(Functions, ArgumentCountsAreCheckedWhenTheQueryIsPrepared) {
    EXPECT_EQ(describe("jet_left('abc')"),
              "error: wrong number of arguments to function jet_left()");
    EXPECT_EQ(describe("jet_mid('abc', 1, 1, 1)"),
              "error: wrong number of arguments to function jet_mid()");
}

TEST_F(Functions, ColumnsAreReadAsTheirDeclaredKind) {
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(
                  db, "SELECT -0.75, 1.23456, 5, 2.5, 70000, NULL, '3/23/2003', 3000000000", -1,
                  &stmt, nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    using vb::Variant;
    using vb::VarType;
    EXPECT_EQ(jet::variantFromColumn(stmt, 0, VarType::Date), Variant::date(-1.25));
    EXPECT_EQ(jet::variantFromColumn(stmt, 1, VarType::Currency), Variant(vb::Currency{12346}));
    EXPECT_EQ(jet::variantFromColumn(stmt, 2, VarType::Boolean), Variant(true));
    EXPECT_EQ(jet::variantFromColumn(stmt, 3, VarType::Integer), Variant(std::int16_t{2}));
    EXPECT_EQ(jet::variantFromColumn(stmt, 2, VarType::String), Variant(QStringLiteral("5")));
    EXPECT_EQ(jet::variantFromColumn(stmt, 5, VarType::Long), Variant::null());
    EXPECT_EQ(jet::variantFromColumn(stmt, 6, VarType::Date),
              Variant::date(vb::dayNumberFromCivil(2003, 3, 23)));
    EXPECT_EQ(jet::variantFromColumn(stmt, 2, VarType::Empty), Variant(std::int32_t{5}));
    EXPECT_EQ(jet::variantFromColumn(stmt, 7, VarType::Empty), Variant(3000000000.0));
    EXPECT_EQ(testsupport::errorOf([&] { jet::variantFromColumn(stmt, 4, VarType::Integer); }),
              vb::err::Overflow);
    sqlite3_finalize(stmt);
}
