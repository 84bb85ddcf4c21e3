#include "recordset/RecordsetTestData.h"

using rs::AdoType;
using rstest::date;
using rstest::ids;
using rstest::lng;
using rstest::null;
using Ids = std::vector<int>;

namespace {

vb::Variant cy(double v) {
    return vb::Variant(vb::Currency::fromDouble(v));
}

vb::Variant small(std::int16_t v) {
    return vb::Variant(v);
}

vb::Variant single(float v) {
    return vb::Variant(v);
}

class Filter : public testsupport::EnUsTest {
protected:
    void SetUp() override {
        EnUsTest::SetUp();
        records = rstest::makeRecordset(
            {{"Id", AdoType::Integer},
             {"Clerk", AdoType::VarWChar},
             {"Amount", AdoType::Currency},
             {"Qty", AdoType::SmallInt},
             {"When", AdoType::DBTimeStamp},
             {"Line Note", AdoType::VarChar},
             {"Price", AdoType::Single},
             {"Active", AdoType::Boolean}},
            {
                {lng(1), "Smith", cy(12.5), small(2), date("3/23/2003"), "first", single(1.1f),
                 vb::Variant(true)},
                {lng(2), "smith", cy(7.25), small(1), date("3/23/2003 14:05"), null(), single(2.5f),
                 vb::Variant(false)},
                {lng(3), "Jones", null(), small(5), date("3/24/2003"), "it's", single(3),
                 vb::Variant(true)},
                {lng(4), "Smoth", cy(20), small(3), null(), "mit", single(4), vb::Variant(false)},
                {lng(5), "mit", cy(12.5), null(), date("3/22/2003"), "", single(1.1f),
                 vb::Variant(true)},
                {lng(6), null(), cy(3), small(1), date("3/25/2003"), "x", null(), null()},
            });
    }

    Ids matches(const QString& criteria) {
        records->setFilter(criteria);
        return ids(*records);
    }

    int errorOf(const QString& criteria) {
        return testsupport::errorOf([&] { records->setFilter(criteria); });
    }

    QString messageOf(const QString& criteria) {
        return rstest::messageOf([&] { records->setFilter(criteria); });
    }

    std::shared_ptr<rs::Recordset> records;
};

} // namespace

TEST_F(Filter, ComparesNumbersInTheFieldsOwnType) {
    EXPECT_EQ(matches("Qty = 1"), (Ids{2, 6}));
    EXPECT_EQ(matches("Qty <> 1"), (Ids{1, 3, 4}));
    EXPECT_EQ(matches("Qty > 2"), (Ids{3, 4}));
    EXPECT_EQ(matches("Qty>=2"), (Ids{1, 3, 4}));
    EXPECT_EQ(matches("Qty < 2.5"), (Ids{1, 2, 6}));
    EXPECT_EQ(matches("Qty <= -1"), (Ids{}));
    EXPECT_EQ(matches("Amount = 12.5"), (Ids{1, 5}));
    EXPECT_EQ(matches("Amount > $10"), (Ids{1, 4, 5}));
    EXPECT_EQ(matches("Amount = '7.25'"), (Ids{2}));
    EXPECT_EQ(matches("Price = 1.1"), (Ids{1, 5})); // as a Single, not as a Double
    EXPECT_EQ(matches("Active = 'True'"), (Ids{1, 3, 5}));
    EXPECT_EQ(matches("Active = 0"), (Ids{2, 4}));
}

TEST_F(Filter, ComparesTextIgnoringCase) {
    EXPECT_EQ(matches("Clerk = 'SMITH'"), (Ids{1, 2}));
    EXPECT_EQ(matches("Clerk < 'M'"), (Ids{3}));
    EXPECT_EQ(matches("[Line Note] = 'it''s'"), (Ids{3}));
    EXPECT_EQ(matches("[Line Note] = ''"), (Ids{5}));
    EXPECT_EQ(matches("[Line Note] <> 'first'"), (Ids{3, 4, 5, 6}));
}

TEST_F(Filter, ComparesDatesWrittenBetweenHashesOrAsText) {
    EXPECT_EQ(matches("When = #3/23/2003#"), (Ids{1}));
    EXPECT_EQ(matches("When = #2003/03/23 14:05:00#"), (Ids{2}));
    EXPECT_EQ(matches("When >= #3/23/2003#"), (Ids{1, 2, 3, 6}));
    EXPECT_EQ(matches("When < '3/23/2003'"), (Ids{5}));
}

TEST_F(Filter, NullMatchesOnlyEqualsNull) {
    EXPECT_EQ(matches("[Line Note] = NULL"), (Ids{2}));
    EXPECT_EQ(matches("[Line Note] <> null"), (Ids{1, 3, 4, 5, 6}));
    EXPECT_EQ(matches("Qty = Null"), (Ids{5}));
    EXPECT_EQ(matches("Clerk <> 'Jones'"), (Ids{1, 2, 4, 5}));
    EXPECT_EQ(matches("When < #1/1/2100#"), (Ids{1, 2, 3, 5, 6}));
    EXPECT_EQ(errorOf("Qty > NULL"), rs::err::BadArguments);
}

TEST_F(Filter, LikeTakesAWildcardAtTheEndOrAtBothEnds) {
    EXPECT_EQ(matches("Clerk LIKE '*mit*'"), (Ids{1, 2, 5}));
    EXPECT_EQ(matches("Clerk like 'SMIT*'"), (Ids{1, 2}));
    EXPECT_EQ(matches("Clerk LIKE 'smit%'"), (Ids{1, 2}));
    EXPECT_EQ(matches("Clerk LIKE '%MIT%'"), (Ids{1, 2, 5}));
    EXPECT_EQ(matches("Clerk LIKE 'mit'"), (Ids{5}));
    EXPECT_EQ(matches("Clerk LIKE '*'"), (Ids{1, 2, 3, 4, 5}));
    const QString wildcard = "Filter: LIKE allows a wildcard only at the end or at both ends";
    EXPECT_EQ(messageOf("Clerk LIKE '*ith'"), wildcard);
    EXPECT_EQ(messageOf("Clerk LIKE 'S*h'"), wildcard);
    EXPECT_EQ(messageOf("Clerk LIKE '*S*h*'"), wildcard);
    EXPECT_EQ(errorOf("Qty LIKE '1*'"), rs::err::BadArguments);
    EXPECT_EQ(errorOf("Clerk LIKE Smith"), rs::err::BadArguments);
}

TEST_F(Filter, AndAndOrHaveTheSamePrecedenceLeftToRight) {
    // Right to left this would be Jones AND (Qty = 5 OR Qty = 1), which is row 3 alone.
    EXPECT_EQ(matches("Clerk = 'Jones' AND Qty = 5 OR Qty = 1"), (Ids{2, 3, 6}));
    EXPECT_EQ(matches("Qty = 1 OR Qty = 2 OR Qty = 3"), (Ids{1, 2, 4, 6}));
    EXPECT_EQ(matches("(Clerk = 'Smith' AND Qty = 2) OR (Clerk = 'Jones' AND Qty = 5)"),
              (Ids{1, 3}));
    EXPECT_EQ(matches("((Qty = 1)) and Amount < 5"), (Ids{6}));
}

TEST_F(Filter, RefusesAnOrGroupJoinedWithAnd) {
    const QString refused = "Filter: an OR group cannot be joined with AND";
    EXPECT_EQ(messageOf("(Qty = 1 OR Qty = 2) AND Clerk = 'Smith'"), refused);
    EXPECT_EQ(messageOf("Clerk = 'Smith' AND (Qty = 1 OR Qty = 2)"), refused);
    // An AND-first precedence would read these as ... OR (... AND ...) and accept them.
    EXPECT_EQ(messageOf("Qty = 1 OR Qty = 2 AND Clerk = 'Smith'"), refused);
    EXPECT_EQ(messageOf("Qty = 1 AND Id = 2 OR Qty = 5 AND Id = 3"), refused);
}

TEST_F(Filter, BadCriteriaNameTheProblem) {
    EXPECT_EQ(messageOf("Foo = 1"), "Filter: unknown field 'Foo'");
    EXPECT_EQ(messageOf("Qty = 'abc'"), "Filter: field 'Qty' needs a number, not 'abc'");
    EXPECT_EQ(messageOf("When = 'soon'"), "Filter: field 'When' needs a date, not 'soon'");
    EXPECT_EQ(messageOf("Clerk = Smith"),
              "Filter: 'Smith' is not a value; write text in single quotes");
    EXPECT_EQ(messageOf("When = #13/45/2003#"), "Filter: #13/45/2003# is not a date");
    EXPECT_TRUE(messageOf("Clerk = 'Smith").contains("closing quote"));
    EXPECT_TRUE(messageOf("Qty 1").contains("expected an operator"));
    EXPECT_TRUE(messageOf("Qty = 1 AND").contains("expected a field name at the end"));
    EXPECT_TRUE(messageOf("(Qty = 1").contains("')'"));
    EXPECT_TRUE(messageOf("Qty = 1)").contains("no matching '('"));
    EXPECT_TRUE(messageOf("Qty = 1 Id = 2").contains("expected AND or OR"));
    EXPECT_TRUE(messageOf("Qty = 1 ORDER Id = 2").contains("expected AND or OR"));
    EXPECT_TRUE(messageOf("[Line Note = 'x'").contains("missing its ']'"));
}

// Each "(" is read one level deeper, so a text may not nest without end.
TEST_F(Filter, ParenthesesNestAtMostTwoHundredDeep) {
    const auto around = [](const QString& inner, int depth) {
        return QString(u'(').repeated(depth) + inner + QString(u')').repeated(depth);
    };
    EXPECT_EQ(matches(around("Qty = 1", 200)), (Ids{2, 6}));
    EXPECT_EQ(messageOf(around("Qty = 1", 201)), "Filter: parentheses nest more than 200 deep");
    EXPECT_EQ(errorOf(around("Qty = 1", 100000)), rs::err::BadArguments);
    EXPECT_EQ(errorOf(QString(u'(').repeated(100000)), rs::err::BadArguments);
    // Depth is what counts, not how many groups a text holds.
    EXPECT_EQ(matches(QStringList(300, "(Qty = 5)").join(" OR ")), (Ids{3}));

    // Nested to the right of each AND, every level still decides its own clause.
    QString chain = "Qty = 1";
    for (int id = 1; id <= 200; ++id)
        chain = QString("Id <> %1 AND (%2)").arg(id == 6 ? 99 : id).arg(chain);
    EXPECT_EQ(matches(chain), (Ids{6}));
    EXPECT_EQ(errorOf("Id > 0 AND (" + chain + ")"), rs::err::BadArguments);
}

TEST_F(Filter, MovesToTheFirstMatchAndCountsOnlyMatches) {
    records->moveLast();
    records->setFilter("Clerk LIKE 'S*'");
    EXPECT_EQ(records->absolutePosition(), 1);
    EXPECT_EQ(records->field(u"Id").value(), lng(1));
    EXPECT_EQ(records->recordCount(), 3u);
    EXPECT_EQ(rstest::idsByCursor(*records), (Ids{1, 2, 4}));

    records->setFilter("Qty = 99");
    EXPECT_TRUE(records->bof());
    EXPECT_TRUE(records->eof());
    EXPECT_EQ(records->recordCount(), 0u);
}

TEST_F(Filter, EmptyTextRemovesTheFilter) {
    records->setFilter("Qty = 1");
    records->moveNext();
    records->setFilter("");
    EXPECT_EQ(records->filter(), "");
    EXPECT_EQ(records->absolutePosition(), 1);
    EXPECT_EQ(ids(*records), (Ids{1, 2, 3, 4, 5, 6}));
}

TEST_F(Filter, ABadFilterLeavesTheOldOneInForce) {
    records->setFilter("Qty = 1");
    records->moveNext();
    EXPECT_EQ(errorOf("Nope = 1"), rs::err::BadArguments);
    EXPECT_EQ(records->filter(), "Qty = 1");
    EXPECT_EQ(ids(*records), (Ids{2, 6}));
    EXPECT_EQ(records->field(u"Id").value(), lng(6));
}

TEST(FilterVariantField, ComparesWithTheLanguagesRules) {
    auto records = rstest::makeRecordset(
        {{"Id", AdoType::Integer}, {"V", AdoType::Variant}},
        {{lng(1), lng(5)}, {lng(2), vb::Variant(5.0)}, {lng(3), "Five"}, {lng(4), null()}});
    records->setFilter("V = 5");
    EXPECT_EQ(ids(*records), (Ids{1, 2}));
    records->setFilter("V LIKE 'fi*'");
    EXPECT_EQ(ids(*records), (Ids{3}));
    records->setFilter("V = NULL");
    EXPECT_EQ(ids(*records), (Ids{4}));
}
