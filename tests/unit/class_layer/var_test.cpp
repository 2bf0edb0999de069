#include "ppapi/cpp/var.h"

#include <limits>
#include <string>
#include <vector>

#include "layer_test.h"
#include "ppapi/cpp/var_dictionary.h"

namespace {

using pp::Var;
using pp::VarDictionary;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kMake[] = "PPB_Var.VarFromUtf8 +";
constexpr char kAdd[] = "PPB_Var.AddRef +";
constexpr char kRelease[] = "PPB_Var.Release -";
constexpr char kCreate[] = "PPB_VarDictionary.Create +";

class AVar : public LayerTest {
  protected:
    void SetUp() override { load(); }
};

TEST_F(AVar, OfAnImmediateTypeHoldsItsValue) {
    EXPECT_THAT(operationsOf([] {
                    EXPECT_TRUE(Var().is_undefined());
                    EXPECT_TRUE(Var(Var::Null()).is_null());
                    EXPECT_TRUE(Var(true).AsBool());
                    EXPECT_FALSE(Var(false).AsBool());
                    EXPECT_EQ(Var(-7).AsInt(), -7);
                    EXPECT_EQ(Var(2.5).pp_var().value.as_double, 2.5);
                    Var copy = Var(5);
                    copy = Var(true);
                    EXPECT_TRUE(copy.is_bool());
                }),
                IsEmpty());
}

TEST_F(AVar, HasNoPadding) {
    onMain([] {
        for (const Var& var : {Var(), Var(Var::Null()), Var(true), Var(1), Var(1.0), Var("x")}) {
            SCOPED_TRACE(var.pp_var().type);
            EXPECT_EQ(var.pp_var().padding, 0);
        }
    });
}

TEST_F(AVar, IsOfExactlyOneType) {
    onMain([] {
        const VarDictionary dictionary;
        const Var array(pp::PASS_REF, support::arrays().Create());
        const Var buffer(pp::PASS_REF, support::buffers().Create(1));
        const std::vector<Var> vars = {Var(),   Var(Var::Null()), Var(true), Var(0), Var(.0),
                                       Var(""), dictionary,       array,     buffer};
        std::vector<std::vector<bool>> answers;
        for (const Var& var : vars) {
            answers.push_back({var.is_undefined(), var.is_null(), var.is_bool(), var.is_int(),
                               var.is_double(), var.is_string(), var.is_dictionary(),
                               var.is_array(), var.is_array_buffer()});
        }
        for (std::size_t i = 0; i < vars.size(); ++i) {
            SCOPED_TRACE(i);
            for (std::size_t j = 0; j < vars.size(); ++j) EXPECT_EQ(answers[i][j], i == j);
            EXPECT_EQ(vars[i].is_number(), i == 3 || i == 4);
        }
    });
}

TEST_F(AVar, MadeOfTextOwnsOneReferenceUntilItsEnd) {
    EXPECT_THAT(operationsOf([] {
                    const Var var("text");
                    EXPECT_TRUE(var.is_string());
                    EXPECT_EQ(var.AsString(), "text");
                }),
                ElementsAre(kMake, kRelease));
    EXPECT_THAT(operationsOf([] { const Var var(std::string("text")); }),
                ElementsAre(kMake, kRelease));
}

TEST_F(AVar, KeepsTheBytesOfItsText) {
    onMain([] {
        EXPECT_EQ(Var("\xc3\xa4\xf0\x9f\x98\x80").AsString(), "\xc3\xa4\xf0\x9f\x98\x80");
        const std::string nul("a\0b\0", 4);
        EXPECT_EQ(Var(nul).AsString(), nul);
        EXPECT_EQ(Var(nul.c_str()).AsString(), "a");
        EXPECT_EQ(Var(std::string()).AsString(), "");
        EXPECT_TRUE(Var(std::string()).is_string());
    });
}

TEST_F(AVar, MadeOfANullPointerIsTheEmptyText) {
    onMain([] {
        const Var var(static_cast<const char*>(nullptr));
        EXPECT_TRUE(var.is_string());
        EXPECT_EQ(var.AsString(), "");
    });
}

TEST_F(AVar, MadeOfInvalidUtf8IsNull) {
    onMain([] {
        EXPECT_TRUE(Var("bad \xff").is_null());
        EXPECT_TRUE(Var(std::string("\xed\xa0\x80")).is_null());
        EXPECT_EQ(Var("bad \xff").AsString(), "");
    });
}

TEST_F(AVar, MayTakeOverACallersReference) {
    EXPECT_THAT(operationsOf([] {
                    const Var var(pp::PASS_REF, support::text("given"));
                    EXPECT_EQ(var.AsString(), "given");
                }),
                ElementsAre(kMake, kRelease));
}

TEST_F(AVar, AddsAReferenceToACallersVar) {
    onMain([&] {
        const PP_Var lent = support::text("lent");
        {
            const Var var(lent);
            EXPECT_EQ(var.pp_var().value.as_id, lent.value.as_id);
            EXPECT_EQ(references(lent), 2);
        }
        EXPECT_EQ(references(lent), 1);
        support::vars().Release(lent);
    });
}

TEST_F(AVar, SharesItsReferenceWithACopy) {
    EXPECT_THAT(operationsOf([] {
                    const Var var("shared");
                    const Var copy(var);  // NOLINT(performance-unnecessary-copy-initialization)
                    EXPECT_EQ(copy.pp_var().value.as_id, var.pp_var().value.as_id);
                }),
                ElementsAre(kMake, kAdd, kRelease, kRelease));
}

TEST_F(AVar, TakesTheNewReferenceBeforeItGivesTheOldOne) {
    EXPECT_THAT(operationsOf([] {
                    const Var source("new");
                    Var target("old");
                    target = source;
                    EXPECT_EQ(target.AsString(), "new");
                }),
                ElementsAre(kMake, kMake, kAdd, kRelease, kRelease, kRelease));
}

TEST_F(AVar, MayBeAssignedToItself) {
    onMain([&] {
        Var var("self");
        const Var& same = var;
        var = same;
        EXPECT_EQ(var.AsString(), "self");
        EXPECT_EQ(references(var.pp_var()), 1);
    });
}

TEST_F(AVar, MayBeReplacedByAnImmediateOneAndBack) {
    EXPECT_THAT(operationsOf([] {
                    Var var("text");
                    var = Var(1);
                    EXPECT_EQ(var.AsInt(), 1);
                    var = Var();
                    EXPECT_TRUE(var.is_undefined());
                }),
                ElementsAre(kMake, kRelease));
}

TEST_F(AVar, GivesItsReferenceAwayWhenDetached) {
    PP_Var given = PP_MakeUndefined();
    EXPECT_THAT(operationsOf([&] {
                    Var var("given away");
                    given = var.Detach();
                    EXPECT_TRUE(var.is_undefined());
                }),
                ElementsAre(kMake));
    EXPECT_EQ(references(given), 1);
    EXPECT_EQ(support::textOf(given), "given away");
    support::vars().Release(given);
    onMain([] {
        Var number(5);
        EXPECT_EQ(number.Detach().value.as_int, 5);
        EXPECT_TRUE(number.is_undefined());
    });
}

TEST_F(AVar, ReadsWithoutTouchingReferences) {
    onMain([&] {
        const Var var("read");
        host::VarTable::instance().recordOperations(true);
        EXPECT_EQ(var.AsString(), "read");
        EXPECT_EQ(var.pp_var().type, PP_VARTYPE_STRING);
        EXPECT_THAT(host::VarTable::instance().operations(), IsEmpty());
    });
}

TEST_F(AVar, ThatIsNoStringReadsAsTheEmptyText) {
    onMain([] {
        for (const Var& var : {Var(), Var(Var::Null()), Var(true), Var(1), Var(1.5)}) {
            EXPECT_EQ(var.AsString(), "");
        }
        EXPECT_EQ(VarDictionary().AsString(), "");
    });
}

TEST_F(AVar, ThatIsADeadStringReadsAsTheEmptyText) {
    onMain([&] {
        PP_Var dead = support::text("dead");
        support::vars().Release(dead);
        Var var(pp::PASS_REF, dead);
        EXPECT_EQ(var.AsString(), "");
        var.Detach();
    });
    EXPECT_THAT(m_host->problems(), ::testing::SizeIs(1)) << "the host saw it";
    m_host->unload();
    m_host.reset();
}

TEST_F(AVar, ThatIsADoubleBecomesAnIntByTruncationWithinItsRange) {
    struct Row {
        double number;
        std::int32_t expected;
    };
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const Row rows[] = {{0.0, 0},
                        {-0.0, 0},
                        {1.9, 1},
                        {-1.9, -1},
                        {2147483647.0, 2147483647},
                        {2147483647.9, 2147483647},
                        {2147483648.0, 2147483647},
                        {-2147483648.9, -2147483647 - 1},
                        {-2147483649.0, -2147483647 - 1},
                        {1e300, 2147483647},
                        {-1e300, -2147483647 - 1},
                        {kInfinity, 2147483647},
                        {-kInfinity, -2147483647 - 1},
                        {std::numeric_limits<double>::quiet_NaN(), 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.number);
        EXPECT_EQ(Var(row.number).AsInt(), row.expected);
    }
}

TEST_F(AVar, IsUsableOnAnyThread) {
    // This is not the module's main thread.
    const Var var("made here");
    const Var copy(var);
    EXPECT_EQ(copy.AsString(), "made here");
}

// Mistakes of a module's author: a debug build stops, any other goes on with a neutral value.
TEST(AVarOfTheWrongType, StopsADebugBuildWhenItIsReadAsABoolOrInt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEBUG_DEATH(EXPECT_FALSE(Var(1).AsBool()), "is_bool");
    EXPECT_DEBUG_DEATH(EXPECT_FALSE(Var().AsBool()), "is_bool");
    EXPECT_DEBUG_DEATH(EXPECT_EQ(Var(true).AsInt(), 0), "is_double");
    EXPECT_DEBUG_DEATH(EXPECT_EQ(Var().AsInt(), 0), "is_double");
}

TEST(AVarOfTheWrongType, StopsADebugBuildWhenItBecomesADictionary) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEBUG_DEATH(EXPECT_TRUE(VarDictionary(Var(1)).is_null()), "is_dictionary");
}

class ADictionary : public AVar {};

TEST_F(ADictionary, StartsEmptyWithOneReference) {
    EXPECT_THAT(operationsOf([] {
                    const VarDictionary dictionary;
                    EXPECT_TRUE(dictionary.is_dictionary());
                    EXPECT_EQ(support::valueOf(dictionary.pp_var()), Value(Value::Dictionary{}));
                }),
                ElementsAre(kCreate, kRelease));
}

TEST_F(ADictionary, SetsGetsAndKnowsItsKeys) {
    onMain([] {
        VarDictionary dictionary;
        EXPECT_TRUE(dictionary.Set("code", 18));
        EXPECT_TRUE(dictionary.Set(std::string("name"), std::string("value")));
        EXPECT_TRUE(dictionary.Set("undefined", Var()));
        EXPECT_EQ(dictionary.Get("code").AsInt(), 18);
        EXPECT_EQ(dictionary.Get("name").AsString(), "value");
        EXPECT_TRUE(dictionary.Get("undefined").is_undefined());
        EXPECT_TRUE(dictionary.HasKey("undefined"));
        EXPECT_FALSE(dictionary.HasKey("missing"));
        EXPECT_TRUE(dictionary.Get("missing").is_undefined());
        EXPECT_TRUE(dictionary.Set("code", true));
        EXPECT_TRUE(dictionary.Get("code").AsBool());
    });
}

TEST_F(ADictionary, RefusesAKeyThatIsNoString) {
    onMain([] {
        VarDictionary dictionary;
        EXPECT_FALSE(dictionary.Set(Var(1), Var(2)));
        EXPECT_FALSE(dictionary.Set(Var(), Var(2)));
        EXPECT_FALSE(dictionary.Set("bad \xff", Var(2)));
        EXPECT_FALSE(dictionary.HasKey(Var(1)));
        EXPECT_TRUE(dictionary.Get(Var(1)).is_undefined());
        EXPECT_EQ(support::valueOf(dictionary.pp_var()), Value(Value::Dictionary{}));
    });
}

TEST_F(ADictionary, GivesBackEachReferenceThatItsFunctionsTake) {
    onMain([&] {
        VarDictionary dictionary;
        const Var key("key");
        const Var value("value");
        host::VarTable& table = host::VarTable::instance();

        table.recordOperations(true);
        dictionary.Set(key, value);
        dictionary.HasKey(key);
        EXPECT_THAT(table.operations(), IsEmpty()) << "arguments are borrowed";
        {
            const Var got = dictionary.Get(key);
            EXPECT_EQ(got.pp_var().value.as_id, value.pp_var().value.as_id);
            EXPECT_EQ(references(value.pp_var()), 2);
        }
        EXPECT_EQ(references(value.pp_var()), 1);
        EXPECT_EQ(table.operations().size(), 2U);
        table.recordOperations(false);
    });
}

TEST_F(ADictionary, IsSharedByItsCopies) {
    onMain([&] {
        VarDictionary original;
        const VarDictionary copy(original);
        const Var plain(original);
        const VarDictionary fromVar(plain);
        VarDictionary assigned;
        assigned = original;
        VarDictionary assignedFromVar;
        assignedFromVar = plain;
        EXPECT_EQ(references(original.pp_var()), 6) << "one each";
        original.Set("seen by", "all");
        for (const VarDictionary& one : {copy, fromVar, assigned, assignedFromVar}) {
            EXPECT_EQ(one.Get("seen by").AsString(), "all");
        }
        EXPECT_EQ(references(original.pp_var()), 6);
    });
}

TEST_F(ADictionary, MayBeAssignedThroughItsBase) {
    onMain([&] {
        VarDictionary first;
        VarDictionary second;
        Var& base = first;
        base = second;
        EXPECT_EQ(first.pp_var().value.as_id, second.pp_var().value.as_id);
        EXPECT_EQ(references(second.pp_var()), 2);
    });
}

#ifdef NDEBUG
TEST_F(ADictionary, BecomesNullWhenSomethingElseIsAssigned) {
    onMain([&] {
        VarDictionary dictionary;
        const PP_Var before = dictionary.pp_var();
        dictionary = Var(1);
        EXPECT_TRUE(dictionary.is_null());
        EXPECT_EQ(references(before), 0);
        EXPECT_FALSE(dictionary.Set("key", 1));
        EXPECT_TRUE(dictionary.Get("key").is_undefined());
    });
}
#endif

}  // namespace
