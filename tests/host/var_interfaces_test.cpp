// The edges of the vars' interfaces, as browsers have them.

#include <string>

#include "host/plugin_host.h"
#include "ppapi/c/pp_errors.h"
#include "scripted_module.h"
#include "var_test.h"

namespace {

using support::arrays;
using support::buffers;
using support::dictionaries;
using support::text;
using support::textOf;
using support::vars;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class AString : public VarTest {};

TEST_F(AString, KeepsItsBytes) {
    for (const std::string& bytes :
         {std::string("plain"), std::string(), std::string("nul\0inside\0", 11),
          std::string("\0", 1), std::string(100000, 'x'), std::string("\xc3\xa4\xe2\x82\xac")}) {
        SCOPED_TRACE(bytes.substr(0, 20));
        const PP_Var var = text(bytes);
        ASSERT_EQ(var.type, PP_VARTYPE_STRING);
        EXPECT_EQ(textOf(var), bytes);
        std::uint32_t length = 0;
        EXPECT_EQ(vars().VarToUtf8(var, &length)[bytes.size()], '\0');
        EXPECT_EQ(length, bytes.size());
        vars().Release(var);
    }
}

TEST_F(AString, OfLengthZeroNeedsNoData) {
    const PP_Var var = vars().VarFromUtf8(nullptr, 0);
    EXPECT_EQ(var.type, PP_VARTYPE_STRING);
    EXPECT_EQ(textOf(var), "");
    vars().Release(var);
}

TEST_F(AString, IsReadAtOneAddressWhileItLives) {
    const PP_Var var = text("stays");
    std::uint32_t length = 0;
    const char* first = vars().VarToUtf8(var, &length);
    vars().AddRef(var);
    for (int i = 0; i < 1000; ++i) vars().Release(text("others"));
    EXPECT_EQ(vars().VarToUtf8(var, &length), first);
    vars().Release(var);
    EXPECT_EQ(vars().VarToUtf8(var, &length), first);
    vars().Release(var);
}

TEST_F(AString, IsWhatOtherTypesAreNot) {
    const PP_Var array = arrays().Create();
    for (const PP_Var& var : {PP_MakeUndefined(), PP_MakeNull(), PP_MakeInt32(1), array}) {
        SCOPED_TRACE(var.type);
        std::uint32_t length = 99;
        EXPECT_EQ(vars().VarToUtf8(var, &length), nullptr);
        EXPECT_EQ(length, 0U);
    }
    vars().Release(array);
}

TEST_F(AString, ThatIsDeadReadsAsNothing) {
    const PP_Var dead = deadText("dead");
    std::uint32_t length = 99;
    EXPECT_EQ(vars().VarToUtf8(dead, &length), nullptr);
    EXPECT_EQ(length, 0U);
    EXPECT_THAT(newProblems(), SizeIs(1));
}

struct Utf8Row {
    const char* name;
    std::string bytes;
    bool valid;
};

const Utf8Row kUtf8Rows[] = {
    {"ASCII", "\x01\x7f", true},
    {"first of two bytes, U+0080", "\xc2\x80", true},
    {"last of two bytes, U+07FF", "\xdf\xbf", true},
    {"first of three bytes, U+0800", "\xe0\xa0\x80", true},
    {"last before the surrogates, U+D7FF", "\xed\x9f\xbf", true},
    {"first after the surrogates, U+E000", "\xee\x80\x80", true},
    {"noncharacter U+FFFF", "\xef\xbf\xbf", true},
    {"byte order mark", "\xef\xbb\xbf", true},
    {"first of four bytes, U+10000", "\xf0\x90\x80\x80", true},
    {"last code point, U+10FFFF", "\xf4\x8f\xbf\xbf", true},
    {"lone continuation", "\x80", false},
    {"lone last continuation", "\xbf", false},
    {"two bytes, one missing", "\xc3", false},
    {"two bytes, then ASCII", "\xc3(", false},
    {"two bytes, then a start byte", "\xc3\xc3\xa4", false},
    {"three bytes, one missing", "\xe2\x82", false},
    {"three bytes, two missing", "\xe2", false},
    {"three bytes, bad middle", "\xe2(\xac", false},
    {"three bytes, bad end", "\xe2\x82(", false},
    {"four bytes, one missing", "\xf0\x9f\x98", false},
    {"four bytes, bad end", "\xf0\x9f\x98(", false},
    {"overlong two bytes", "\xc0\xaf", false},
    {"overlong NUL", std::string("\xc0\x80", 2), false},
    {"overlong two bytes, last", "\xc1\xbf", false},
    {"overlong three bytes", "\xe0\x9f\xbf", false},
    {"overlong four bytes", "\xf0\x8f\xbf\xbf", false},
    {"first high surrogate", "\xed\xa0\x80", false},
    {"last low surrogate", "\xed\xbf\xbf", false},
    {"surrogate pair in six bytes", "\xed\xa0\xbd\xed\xb8\x80", false},
    {"beyond U+10FFFF", "\xf4\x90\x80\x80", false},
    {"start byte f5", "\xf5\x80\x80\x80", false},
    {"five bytes", "\xf8\x88\x80\x80\x80", false},
    {"byte fe", "\xfe", false},
    {"byte ff", "\xff", false},
    {"good, then bad", "good \xff", false},
    {"good, then truncated", "good \xe2\x82", false},
    {"bad after a NUL", std::string("a\0\xff", 3), false},
};

TEST_F(AString, IsMadeOfWellFormedUtf8Alone) {
    for (const Utf8Row& row : kUtf8Rows) {
        SCOPED_TRACE(row.name);
        const PP_Var var = text(row.bytes);
        EXPECT_EQ(var.type, row.valid ? PP_VARTYPE_STRING : PP_VARTYPE_NULL);
        if (row.valid) {
            EXPECT_EQ(textOf(var), row.bytes);
        }
        vars().Release(var);
    }
}

TEST_F(AString, ComesOutOfTheOlderInterfacesToo) {
    const auto& older = support::browserTable<PPB_Var_1_1>(PPB_VAR_INTERFACE_1_1);
    const auto& oldest = support::browserTable<PPB_Var_1_0>(PPB_VAR_INTERFACE_1_0);
    const PP_Var first = older.VarFromUtf8("eleven", 6);
    const PP_Var second = oldest.VarFromUtf8(12345, "ten", 3);
    std::uint32_t length = 0;
    EXPECT_STREQ(oldest.VarToUtf8(first, &length), "eleven");
    EXPECT_STREQ(older.VarToUtf8(second, &length), "ten");
    EXPECT_EQ(length, 3U);
    older.AddRef(second);
    EXPECT_EQ(references(second), 2);
    oldest.Release(second);
    oldest.Release(first);
    older.Release(second);
    EXPECT_EQ(oldest.VarFromUtf8(1, "\xff", 1).type, PP_VARTYPE_NULL);
}

class ADictionary : public VarTest {
  protected:
    ADictionary() : m_dictionary(dictionaries().Create()) {}
    void TearDown() override {
        vars().Release(m_dictionary);
        VarTest::TearDown();
    }

    bool set(const std::string& key, const PP_Var& value) {
        const PP_Var keyVar = text(key);
        const PP_Bool done = dictionaries().Set(m_dictionary, keyVar, value);
        vars().Release(keyVar);
        return PP_ToBool(done);
    }

    /// One reference for the caller.
    PP_Var get(const std::string& key) {
        const PP_Var keyVar = text(key);
        const PP_Var value = dictionaries().Get(m_dictionary, keyVar);
        vars().Release(keyVar);
        return value;
    }

    bool has(const std::string& key) {
        const PP_Var keyVar = text(key);
        const PP_Bool found = dictionaries().HasKey(m_dictionary, keyVar);
        vars().Release(keyVar);
        return PP_ToBool(found);
    }

    void remove(const std::string& key) {
        const PP_Var keyVar = text(key);
        dictionaries().Delete(m_dictionary, keyVar);
        vars().Release(keyVar);
    }

    const PP_Var m_dictionary;
};

TEST_F(ADictionary, StartsEmpty) {
    EXPECT_EQ(m_dictionary.type, PP_VARTYPE_DICTIONARY);
    EXPECT_EQ(references(m_dictionary), 1);
    EXPECT_FALSE(has(""));
    EXPECT_EQ(support::takeValue(dictionaries().GetKeys(m_dictionary)), Value(Value::Array{}));
}

TEST_F(ADictionary, KeepsValuesOfEveryType) {
    const PP_Var array = arrays().Create();
    const PP_Var string = text("text");
    const PP_Var buffer = buffers().Create(1);
    for (const PP_Var& value : {PP_MakeUndefined(), PP_MakeNull(), PP_MakeBool(PP_TRUE),
                                PP_MakeInt32(-5), PP_MakeDouble(2.5), array, string, buffer}) {
        SCOPED_TRACE(value.type);
        EXPECT_TRUE(set("key", value));
        EXPECT_TRUE(has("key"));
        const PP_Var back = get("key");
        EXPECT_EQ(back.type, value.type);
        EXPECT_EQ(back.value.as_id, value.value.as_id);
        vars().Release(back);
    }
    for (const PP_Var& value : {array, string, buffer}) vars().Release(value);
}

TEST_F(ADictionary, GivesTheSameVarWithAReferenceEachTime) {
    const PP_Var value = text("value");
    set("key", value);
    const PP_Var first = get("key");
    const PP_Var second = get("key");
    EXPECT_EQ(first.value.as_id, value.value.as_id);
    EXPECT_EQ(second.value.as_id, value.value.as_id);
    EXPECT_EQ(references(value), 3);
    for (const PP_Var& var : {value, first, second}) vars().Release(var);
}

TEST_F(ADictionary, AddsItsOwnReferenceAndReleasesWhatItReplaces) {
    const PP_Var first = text("first");
    const PP_Var second = text("second");
    table().recordOperations(true);
    set("key", first);
    EXPECT_THAT(operations(first.value.as_id), IsEmpty()) << "the module's account is untouched";
    vars().Release(first);
    EXPECT_EQ(textOf(first), "first");
    set("key", second);
    EXPECT_EQ(textOf(first), std::nullopt);
    EXPECT_THAT(newProblems(), SizeIs(1));
    vars().Release(second);
}

TEST_F(ADictionary, MayGetTheSameValueAgain) {
    const PP_Var value = text("value");
    set("key", value);
    vars().Release(value);
    const PP_Var borrowed = get("key");
    vars().Release(borrowed);
    EXPECT_TRUE(set("key", borrowed)) << "the new reference comes before the old one goes";
    const PP_Var back = get("key");
    EXPECT_EQ(textOf(back), "value");
    vars().Release(back);
}

TEST_F(ADictionary, CopiesTheKeysText) {
    const PP_Var key = text("key");
    EXPECT_EQ(dictionaries().Set(m_dictionary, key, PP_MakeInt32(1)), PP_TRUE);
    vars().Release(key);
    EXPECT_TRUE(has("key"));
    EXPECT_EQ(get("key").value.as_int, 1);
}

TEST_F(ADictionary, TellsKeysApartByTheirBytes) {
    set("key", PP_MakeInt32(1));
    set("key", PP_MakeInt32(2));
    set("Key", PP_MakeInt32(3));
    set(std::string("key\0", 4), PP_MakeInt32(4));
    set("", PP_MakeInt32(5));
    EXPECT_EQ(get("key").value.as_int, 2);
    EXPECT_EQ(get("Key").value.as_int, 3);
    EXPECT_EQ(get(std::string("key\0", 4)).value.as_int, 4);
    EXPECT_EQ(get("").value.as_int, 5);
    EXPECT_EQ(get("other").type, PP_VARTYPE_UNDEFINED);
}

TEST_F(ADictionary, ListsNewKeyStringsInTheOrderOfTheirBytes) {
    for (const char* key : {"z", "a", "m2", "B", "m10", "\xc3\xa4", ""}) {
        set(key, PP_MakeInt32(1));
    }
    const PP_Var keys = dictionaries().GetKeys(m_dictionary);
    EXPECT_EQ(references(keys), 1);
    const PP_Var first = arrays().Get(keys, 1);
    EXPECT_EQ(textOf(first), "B");
    vars().Release(first);
    EXPECT_EQ(support::takeValue(keys), (Value::Array{"", "B", "a", "m10", "m2", "z", "\xc3\xa4"}));
    EXPECT_EQ(table().liveVarCount(), 1U) << "the keys went with their array";
}

TEST_F(ADictionary, DropsItsReferenceToADeletedValue) {
    const PP_Var value = text("value");
    set("key", value);
    vars().Release(value);
    remove("key");
    remove("key");
    EXPECT_FALSE(has("key"));
    EXPECT_EQ(get("key").type, PP_VARTYPE_UNDEFINED);
    EXPECT_EQ(textOf(value), std::nullopt);
    EXPECT_THAT(newProblems(), SizeIs(1));
}

TEST_F(ADictionary, RefusesAKeyThatIsNoLiveString) {
    const PP_Var array = arrays().Create();
    set("there", PP_MakeInt32(1));
    for (const PP_Var& key : {PP_MakeUndefined(), PP_MakeNull(), PP_MakeInt32(1), array}) {
        SCOPED_TRACE(key.type);
        EXPECT_EQ(dictionaries().Set(m_dictionary, key, PP_MakeInt32(2)), PP_FALSE);
        EXPECT_EQ(dictionaries().Get(m_dictionary, key).type, PP_VARTYPE_UNDEFINED);
        EXPECT_EQ(dictionaries().HasKey(m_dictionary, key), PP_FALSE);
        dictionaries().Delete(m_dictionary, key);
    }
    vars().Release(array);
    const PP_Var dead = deadText("there");
    EXPECT_EQ(dictionaries().Set(m_dictionary, dead, PP_MakeInt32(2)), PP_FALSE);
    EXPECT_THAT(newProblems(), ElementsAre(HasSubstr("PPB_VarDictionary.Set")));
    EXPECT_EQ(support::valueOf(m_dictionary), (Value::Dictionary{{"there", 1}}));
}

TEST_F(ADictionary, KeepsUndefinedForADeadValue) {
    const PP_Var dead = deadText("dead");
    EXPECT_TRUE(set("key", dead));
    EXPECT_THAT(newProblems(), SizeIs(1));
    EXPECT_TRUE(has("key"));
    EXPECT_EQ(get("key").type, PP_VARTYPE_UNDEFINED);
}

TEST_F(ADictionary, IsWhatOtherVarsAreNot) {
    const PP_Var key = text("key");
    const PP_Var array = arrays().Create();
    for (const PP_Var& var : {PP_MakeUndefined(), PP_MakeInt32(1), key, array}) {
        SCOPED_TRACE(var.type);
        EXPECT_EQ(dictionaries().Set(var, key, PP_MakeInt32(1)), PP_FALSE);
        EXPECT_EQ(dictionaries().Get(var, key).type, PP_VARTYPE_UNDEFINED);
        EXPECT_EQ(dictionaries().HasKey(var, key), PP_FALSE);
        dictionaries().Delete(var, key);
        EXPECT_EQ(dictionaries().GetKeys(var).type, PP_VARTYPE_NULL);
    }
    vars().Release(array);
    vars().Release(key);
}

TEST_F(ADictionary, ThatIsDeadGivesNothing) {
    const PP_Var dead = dictionaries().Create();
    vars().Release(dead);
    const PP_Var key = text("key");
    EXPECT_EQ(dictionaries().Set(dead, key, PP_MakeInt32(1)), PP_FALSE);
    EXPECT_EQ(dictionaries().Get(dead, key).type, PP_VARTYPE_UNDEFINED);
    EXPECT_EQ(dictionaries().HasKey(dead, key), PP_FALSE);
    dictionaries().Delete(dead, key);
    EXPECT_EQ(dictionaries().GetKeys(dead).type, PP_VARTYPE_NULL);
    EXPECT_THAT(newProblems(), SizeIs(5));
    vars().Release(key);
}

class AnArray : public VarTest {
  protected:
    AnArray() : m_array(arrays().Create()) {}
    void TearDown() override {
        vars().Release(m_array);
        VarTest::TearDown();
    }

    const PP_Var m_array;
};

TEST_F(AnArray, StartsEmpty) {
    EXPECT_EQ(m_array.type, PP_VARTYPE_ARRAY);
    EXPECT_EQ(references(m_array), 1);
    EXPECT_EQ(arrays().GetLength(m_array), 0U);
    EXPECT_EQ(arrays().Get(m_array, 0).type, PP_VARTYPE_UNDEFINED);
}

TEST_F(AnArray, GrowsToTheIndexThatIsSetAndFillsTheGapWithUndefined) {
    EXPECT_EQ(arrays().Set(m_array, 3, PP_MakeInt32(7)), PP_TRUE);
    EXPECT_EQ(arrays().GetLength(m_array), 4U);
    EXPECT_EQ(support::valueOf(m_array), (Value::Array{Value(), Value(), Value(), 7}));
    EXPECT_EQ(arrays().Get(m_array, 4).type, PP_VARTYPE_UNDEFINED);
    EXPECT_EQ(arrays().Get(m_array, 0xFFFFFFFFU).type, PP_VARTYPE_UNDEFINED);
}

TEST_F(AnArray, RefusesTheIndexBeyondAllIndexes) {
    EXPECT_EQ(arrays().Set(m_array, 0xFFFFFFFFU, PP_MakeInt32(1)), PP_FALSE);
    EXPECT_EQ(arrays().GetLength(m_array), 0U);
}

TEST_F(AnArray, RefusesToGrowBeyondItsLimitInsteadOfExhaustingTheMemory) {
    EXPECT_EQ(arrays().Set(m_array, host::VarTable::kMaxArrayLength, PP_MakeInt32(1)), PP_FALSE);
    EXPECT_EQ(arrays().SetLength(m_array, host::VarTable::kMaxArrayLength + 1), PP_FALSE);
    EXPECT_EQ(arrays().SetLength(m_array, 0xFFFFFFFFU), PP_FALSE);
    EXPECT_EQ(arrays().GetLength(m_array), 0U);
}

TEST_F(AnArray, AddsItsOwnReferenceAndReleasesWhatItReplaces) {
    const PP_Var first = text("first");
    EXPECT_EQ(arrays().Set(m_array, 0, first), PP_TRUE);
    vars().Release(first);
    const PP_Var back = arrays().Get(m_array, 0);
    EXPECT_EQ(back.value.as_id, first.value.as_id);
    vars().Release(back);
    EXPECT_EQ(arrays().Set(m_array, 0, PP_MakeNull()), PP_TRUE);
    EXPECT_EQ(textOf(first), std::nullopt);
    EXPECT_THAT(newProblems(), SizeIs(1));
}

TEST_F(AnArray, ShrinkingReleasesItsElementsAndGrowingAppendsUndefined) {
    const PP_Var element = text("element");
    for (std::uint32_t i = 0; i < 3; ++i) arrays().Set(m_array, i, element);
    vars().Release(element);
    EXPECT_EQ(arrays().SetLength(m_array, 1), PP_TRUE);
    EXPECT_EQ(support::valueOf(m_array), (Value::Array{"element"}));
    EXPECT_EQ(arrays().SetLength(m_array, 2), PP_TRUE);
    EXPECT_EQ(support::valueOf(m_array), (Value::Array{"element", Value()}));
    EXPECT_EQ(arrays().SetLength(m_array, 0), PP_TRUE);
    EXPECT_EQ(table().liveVarCount(), 1U);
}

TEST_F(AnArray, KeepsUndefinedForADeadValue) {
    EXPECT_EQ(arrays().Set(m_array, 0, deadText("dead")), PP_TRUE);
    EXPECT_THAT(newProblems(), SizeIs(1));
    EXPECT_EQ(support::valueOf(m_array), (Value::Array{Value()}));
}

TEST_F(AnArray, IsWhatOtherVarsAreNot) {
    const PP_Var string = text("text");
    const PP_Var dictionary = dictionaries().Create();
    for (const PP_Var& var : {PP_MakeUndefined(), PP_MakeDouble(1), string, dictionary}) {
        SCOPED_TRACE(var.type);
        EXPECT_EQ(arrays().Get(var, 0).type, PP_VARTYPE_UNDEFINED);
        EXPECT_EQ(arrays().Set(var, 0, PP_MakeInt32(1)), PP_FALSE);
        EXPECT_EQ(arrays().GetLength(var), 0U);
        EXPECT_EQ(arrays().SetLength(var, 1), PP_FALSE);
    }
    vars().Release(string);
    vars().Release(dictionary);
}

class ABuffer : public VarTest {};

TEST_F(ABuffer, IsZeroFilledAndKeepsItsBytesAtOneAddress) {
    const PP_Var buffer = buffers().Create(1000);
    ASSERT_EQ(buffer.type, PP_VARTYPE_ARRAY_BUFFER);
    std::uint32_t length = 0;
    EXPECT_EQ(buffers().ByteLength(buffer, &length), PP_TRUE);
    EXPECT_EQ(length, 1000U);
    auto* bytes = static_cast<std::uint8_t*>(buffers().Map(buffer));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(std::vector<std::uint8_t>(bytes, bytes + 1000), std::vector<std::uint8_t>(1000, 0));
    bytes[999] = 42;
    buffers().Unmap(buffer);
    EXPECT_EQ(buffers().Map(buffer), bytes);
    EXPECT_EQ(support::valueOf(buffer).asBuffer()[999], 42);
    vars().Release(buffer);
}

TEST_F(ABuffer, OfSizeZeroIsABuffer) {
    const PP_Var buffer = buffers().Create(0);
    EXPECT_EQ(buffer.type, PP_VARTYPE_ARRAY_BUFFER);
    std::uint32_t length = 99;
    EXPECT_EQ(buffers().ByteLength(buffer, &length), PP_TRUE);
    EXPECT_EQ(length, 0U);
    buffers().Map(buffer);
    buffers().Unmap(buffer);
    EXPECT_EQ(support::takeValue(buffer), Value(Value::Buffer{}));
}

TEST_F(ABuffer, IsWhatOtherVarsAreNot) {
    const PP_Var string = text("text");
    for (const PP_Var& var : {PP_MakeUndefined(), PP_MakeInt32(1), string}) {
        SCOPED_TRACE(var.type);
        std::uint32_t length = 99;
        EXPECT_EQ(buffers().ByteLength(var, &length), PP_FALSE);
        EXPECT_EQ(length, 99U) << "untouched on failure";
        EXPECT_EQ(buffers().Map(var), nullptr);
        buffers().Unmap(var);
    }
    vars().Release(string);
}

class AResourceVar : public ::testing::Test {
  protected:
    ScriptedModule m_module;
    host::PluginHost m_host{[] {
        host::PluginHost::Options options;
        options.entryPoints = ScriptedModule::entryPoints();
        return options;
    }()};
    const PP_Instance m_instance = m_host.embed();

    /// The module's references to a resource.
    int references(PP_Resource resource) const {
        for (const host::LiveResource& live : m_host.liveResources()) {
            if (live.id == resource) return live.references;
        }
        return 0;
    }
};

TEST_F(AResourceVar, HoldsAReferenceToItsResource) {
    const PP_Resource loop = support::loops().Create(m_instance);
    const PP_Var var = vars().VarFromResource(loop);
    ASSERT_EQ(var.type, PP_VARTYPE_RESOURCE);
    EXPECT_EQ(references(loop), 1) << "the var's reference is not the module's";
    support::core().ReleaseResource(loop);
    EXPECT_EQ(support::loops().PostQuit(loop, PP_FALSE), PP_OK) << "the var keeps it alive";

    const PP_Resource again = vars().VarToResource(var);
    EXPECT_EQ(again, loop);
    EXPECT_EQ(references(loop), 1);
    support::core().ReleaseResource(again);
    vars().Release(var);
    EXPECT_EQ(support::loops().PostQuit(loop, PP_FALSE), PP_ERROR_BADRESOURCE);
    EXPECT_THAT(m_host.problems(), IsEmpty());
    EXPECT_THAT(m_host.resourceProblems(), IsEmpty());
}

TEST_F(AResourceVar, IsNullForAnUnknownResource) {
    EXPECT_EQ(vars().VarFromResource(4711).type, PP_VARTYPE_NULL);
}

TEST_F(AResourceVar, MayHoldTheNullResource) {
    const PP_Var var = vars().VarFromResource(0);
    EXPECT_EQ(var.type, PP_VARTYPE_RESOURCE);
    EXPECT_EQ(vars().VarToResource(var), 0);
    vars().Release(var);
}

TEST_F(AResourceVar, IsWhatOtherVarsAreNot) {
    const PP_Var string = text("text");
    EXPECT_EQ(vars().VarToResource(string), 0);
    EXPECT_EQ(vars().VarToResource(PP_MakeInt32(7)), 0);
    vars().Release(string);
    EXPECT_EQ(vars().VarToResource(string), 0);
    EXPECT_THAT(m_host.problems(), SizeIs(1)) << "of the dead one";
}

}  // namespace
