// The account that the host keeps of a module's references: these tests prove that it sees what a
// module does wrong, so that its silence elsewhere means something.

#include "host_test.h"
#include "thread_tools.h"
#include "var_test.h"

namespace {

using support::arrays;
using support::dictionaries;
using support::forgedVar;
using support::text;
using support::vars;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

std::string idOf(const PP_Var& var) { return std::to_string(var.value.as_id); }

using AModule = HostTest;

TEST_F(AModule, ThatKeepsAVarIsReportedWithTheVarsOrigin) {
    page();
    PP_Var kept{};
    m_host->runOnMain([&] { kept = text("kept for ever"); });
    ASSERT_THAT(m_host->moduleHeldVars(), SizeIs(1));
    const host::HeldVar held = m_host->moduleHeldVars().front();
    EXPECT_EQ(held.id, kept.value.as_id);
    EXPECT_EQ(held.type, PP_VARTYPE_STRING);
    EXPECT_EQ(held.references, 1);
    EXPECT_EQ(held.preview, "string \"kept for ever\"");
    EXPECT_EQ(held.origin.call, "PPB_Var.VarFromUtf8");
    EXPECT_EQ(held.origin.thread, "pepper-main");

    EXPECT_THAT(m_host->problems(), IsEmpty()) << "a leak before the module is unloaded";
    m_host->unload();
    EXPECT_THAT(m_host->problems(),
                ElementsAre("leak: the module kept 1 reference to var " + idOf(kept) +
                            " (string \"kept for ever\"; from PPB_Var.VarFromUtf8, number " +
                            std::to_string(held.origin.number) + ", thread \"pepper-main\")"));
    expectProblems(SizeIs(1));
}

TEST_F(AModule, IsNotChargedWithWhatTheOneBeforeHasKept) {
    page();
    m_host->runOnMain([] { text("kept for ever"); });
    m_host->unload();
    EXPECT_THAT(m_host->problems(), SizeIs(1));
    m_host.reset();
    page();
    EXPECT_THAT(m_host->moduleHeldVars(), IsEmpty());
    m_host->unload();
    EXPECT_THAT(m_host->problems(), IsEmpty());
}

TEST_F(AModule, IsNotRecordedBecauseTheOneBeforeWas) {
    page();
    host::VarTable::instance().recordOperations(true);
    m_host->unload();
    m_host.reset();
    page();
    m_host->runOnMain([] { vars().Release(text("not recorded")); });
    EXPECT_THAT(host::VarTable::instance().operations(), IsEmpty());
}

TEST_F(AModule, ThatReleasesWhatItMadeIsNotReported) {
    page();
    m_host->runOnMain([&] { vars().Release(text("not kept")); });
    EXPECT_THAT(m_host->moduleHeldVars(), IsEmpty());
    m_host->unload();
    EXPECT_THAT(m_host->problems(), IsEmpty());
}

TEST_F(AModule, ThatKeepsAMessageOfPPPMessagingIsReported) {
    m_module.handleMessage = [](PP_Instance, PP_Var) {};
    const PP_Instance instance = page();
    m_host->post(instance, "from the page");
    ASSERT_TRUE(m_host->drain(instance));
    m_host->unload();
    EXPECT_THAT(m_host->problems(),
                ElementsAre(AllOf(StartsWith("leak"), HasSubstr("string \"from the page\""),
                                  HasSubstr("page message"))));
    expectProblems(SizeIs(1));
}

TEST_F(AModule, ThatReleasesABorrowedMessageIsReportedAndTheMessageLives) {
    ScriptedHandler handler;
    std::optional<std::string> afterwards;
    handler.handleMessage = [&](PP_Instance, PP_Var message) {
        vars().Release(message);
        afterwards = support::textOf(message);
    };
    const PP_Instance instance = page();
    support::LoopThread thread(instance);
    ASSERT_EQ(handler.registerOn(instance, thread.loop()), PP_OK);
    m_host->post(instance, "borrowed");
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_EQ(afterwards, "borrowed");
    EXPECT_THAT(m_host->problems(),
                ElementsAre(AllOf(HasSubstr("PPB_Var.Release without owning a reference"),
                                  HasSubstr("string \"borrowed\""), HasSubstr("page message"))));
    expectProblems(SizeIs(1));
}

TEST_F(AModule, ThatUsesABorrowedMessageAfterTheCallIsReported) {
    ScriptedHandler handler;
    PP_Var remembered = PP_MakeUndefined();
    handler.handleMessage = [&](PP_Instance, PP_Var message) { remembered = message; };
    const PP_Instance instance = page();
    support::LoopThread thread(instance);
    ASSERT_EQ(handler.registerOn(instance, thread.loop()), PP_OK);
    m_host->post(instance, "borrowed");
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_EQ(support::textOf(remembered), std::nullopt);
    EXPECT_THAT(m_host->problems(),
                ElementsAre(AllOf(HasSubstr("PPB_Var.VarToUtf8"), HasSubstr("dead"),
                                  HasSubstr("string \"borrowed\""))));
    expectProblems(SizeIs(1));
}

TEST_F(AModule, ThatAddsAReferenceMayUseTheMessageAfterTheCall) {
    ScriptedHandler handler;
    PP_Var remembered = PP_MakeUndefined();
    handler.handleMessage = [&](PP_Instance, PP_Var message) {
        vars().AddRef(message);
        remembered = message;
    };
    const PP_Instance instance = page();
    support::LoopThread thread(instance);
    ASSERT_EQ(handler.registerOn(instance, thread.loop()), PP_OK);
    m_host->post(instance, "shared");
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_EQ(support::textOf(remembered), "shared");
    vars().Release(remembered);
}

TEST_F(AModule, ThatGivesAResponseItDoesNotOwnIsReported) {
    ScriptedHandler handler;
    handler.handleBlockingMessage = [](PP_Instance, PP_Var message) { return message; };
    const PP_Instance instance = page();
    support::LoopThread thread(instance);
    ASSERT_EQ(handler.registerOn(instance, thread.loop()), PP_OK);
    m_host->call(instance, "echo");
    EXPECT_THAT(m_host->problems(), ElementsAre(AllOf(HasSubstr("response does not own"),
                                                      HasSubstr("string \"echo\""))));
    expectProblems(SizeIs(1));
}

TEST_F(AModule, ThatAddsAReferenceToItsResponseIsNotReported) {
    ScriptedHandler handler;
    handler.handleBlockingMessage = [](PP_Instance, PP_Var message) {
        vars().AddRef(message);
        return message;
    };
    const PP_Instance instance = page();
    support::LoopThread thread(instance);
    ASSERT_EQ(handler.registerOn(instance, thread.loop()), PP_OK);
    EXPECT_EQ(m_host->call(instance, "echo").value, Value("echo"));
    EXPECT_THAT(m_host->problems(), IsEmpty());
    EXPECT_THAT(m_host->moduleHeldVars(), IsEmpty());
}

TEST_F(AModule, ThatKeepsAReferenceOfItsResponseIsReported) {
    ScriptedHandler handler;
    handler.handleBlockingMessage = [](PP_Instance, PP_Var) {
        const PP_Var response = text("twice");
        vars().AddRef(response);
        return response;
    };
    const PP_Instance instance = page();
    support::LoopThread thread(instance);
    ASSERT_EQ(handler.registerOn(instance, thread.loop()), PP_OK);
    EXPECT_EQ(m_host->call(instance, 1).value, Value("twice"));
    m_host->unload();
    EXPECT_THAT(m_host->problems(),
                ElementsAre(AllOf(StartsWith("leak"), HasSubstr("string \"twice\""))));
    expectProblems(SizeIs(1));
}

TEST_F(AModule, ThatReleasesAResourceItDoesNotOwnIsReported) {
    const PP_Instance instance = page();
    const PP_Resource loop = support::loops().Create(instance);
    support::core().ReleaseResource(loop);
    support::core().ReleaseResource(loop);
    EXPECT_THAT(m_host->resourceProblems(), ElementsAre(HasSubstr(std::to_string(loop))));
    m_host->unload();
    m_host.reset();
}

TEST_F(AModule, ThatKeepsALoopIsSeenWithItsOrigin) {
    const PP_Instance instance = page();
    const PP_Resource loop = support::loops().Create(instance);
    support::core().AddRefResource(loop);
    ASSERT_THAT(m_host->liveResources(), SizeIs(1));
    const host::LiveResource live = m_host->liveResources().front();
    EXPECT_EQ(live.id, loop);
    EXPECT_EQ(live.kind, "message loop");
    EXPECT_EQ(live.instance, instance);
    EXPECT_EQ(live.references, 2);
    EXPECT_FALSE(live.dead);
    EXPECT_EQ(live.origin, "PPB_MessageLoop.Create");

    m_host->destroy(instance);
    ASSERT_THAT(m_host->liveResources(), SizeIs(1));
    EXPECT_TRUE(m_host->liveResources().front().dead);
    support::core().ReleaseResource(loop);
    support::core().ReleaseResource(loop);
    EXPECT_THAT(m_host->liveResources(), IsEmpty());
}

using AVar = VarTest;

TEST_F(AVar, ReleasedTwiceIsReportedWithItsOrigin) {
    const PP_Var var = deadText("twice");
    EXPECT_THAT(newProblems(), IsEmpty());
    vars().Release(var);
    EXPECT_THAT(
        newProblems(),
        ElementsAre(AllOf(HasSubstr("PPB_Var.Release"), HasSubstr("dead"), HasSubstr(idOf(var)),
                          HasSubstr("string \"twice\""), HasSubstr("PPB_Var.VarFromUtf8"))));
}

TEST_F(AVar, ReleasedTooOftenWhileAContainerHoldsItLivesOn) {
    const PP_Var array = arrays().Create();
    const PP_Var element = text("element");
    arrays().Set(array, 0, element);
    vars().Release(element);
    vars().Release(element);
    EXPECT_THAT(newProblems(), ElementsAre(AllOf(HasSubstr("without owning a reference"),
                                                 HasSubstr("string \"element\""))));
    const PP_Var again = arrays().Get(array, 0);
    EXPECT_EQ(support::textOf(again), "element");
    vars().Release(again);
    vars().Release(array);
}

TEST_F(AVar, ThatIsDeadCannotBeRevived) {
    const PP_Var var = deadText("gone");
    vars().AddRef(var);
    EXPECT_THAT(newProblems(), ElementsAre(AllOf(HasSubstr("PPB_Var.AddRef"), HasSubstr("dead"),
                                                 HasSubstr("string \"gone\""))));
    EXPECT_EQ(support::textOf(var), std::nullopt);
    EXPECT_THAT(newProblems(), SizeIs(1));
    EXPECT_EQ(heldReferences(), 0);
}

TEST_F(AVar, ThatNeverWasIsReportedOnUse) {
    const PP_Var var = forgedVar(PP_VARTYPE_ARRAY, 987654321);
    EXPECT_EQ(arrays().GetLength(var), 0U);
    EXPECT_THAT(newProblems(), ElementsAre(AllOf(HasSubstr("PPB_VarArray.GetLength"),
                                                 HasSubstr("unknown"), HasSubstr("987654321"))));
}

TEST_F(AVar, ThatNeverWasIsReportedWithTheCallThatUsesIt) {
    const PP_Var string = forgedVar(PP_VARTYPE_STRING, 987654321);
    const PP_Var array = forgedVar(PP_VARTYPE_ARRAY, 987654321);
    const PP_Var dictionary = forgedVar(PP_VARTYPE_DICTIONARY, 987654321);
    const PP_Var buffer = forgedVar(PP_VARTYPE_ARRAY_BUFFER, 987654321);
    const PP_Var key = text("key");
    std::uint32_t size = 0;
    const struct {
        std::string call;
        std::string type;
        std::function<void()> use;
    } rows[] = {
        {"PPB_Var.AddRef", "string", [&] { vars().AddRef(string); }},
        {"PPB_Var.Release", "string", [&] { vars().Release(string); }},
        {"PPB_Var.VarToUtf8", "string", [&] { vars().VarToUtf8(string, &size); }},
        {"PPB_VarArray.Get", "array", [&] { arrays().Get(array, 0); }},
        {"PPB_VarArray.Set", "array", [&] { arrays().Set(array, 0, PP_MakeNull()); }},
        {"PPB_VarArray.GetLength", "array", [&] { arrays().GetLength(array); }},
        {"PPB_VarArray.SetLength", "array", [&] { arrays().SetLength(array, 1); }},
        {"PPB_VarArrayBuffer.ByteLength", "array buffer",
         [&] { support::buffers().ByteLength(buffer, &size); }},
        {"PPB_VarArrayBuffer.Map", "array buffer", [&] { support::buffers().Map(buffer); }},
        {"PPB_VarDictionary.Get", "dictionary", [&] { dictionaries().Get(dictionary, key); }},
        {"PPB_VarDictionary.Set", "dictionary",
         [&] { dictionaries().Set(dictionary, key, PP_MakeNull()); }},
        {"PPB_VarDictionary.Delete", "dictionary", [&] { dictionaries().Delete(dictionary, key); }},
        {"PPB_VarDictionary.HasKey", "dictionary", [&] { dictionaries().HasKey(dictionary, key); }},
        {"PPB_VarDictionary.GetKeys", "dictionary", [&] { dictionaries().GetKeys(dictionary); }},
    };
    std::vector<std::string> expected;
    for (const auto& [call, type, use] : rows) {
        use();
        expected.push_back(call + ": unknown or long dead " + type + " var 987654321");
    }
    vars().Release(key);
    EXPECT_EQ(newProblems(), expected);
}

TEST_F(AVar, WithAnotherTypesTagIsReportedOnUse) {
    const PP_Var string = text("no array");
    const PP_Var forged = forgedVar(PP_VARTYPE_ARRAY, string.value.as_id);
    EXPECT_EQ(arrays().GetLength(forged), 0U);
    EXPECT_THAT(newProblems(),
                ElementsAre(AllOf(HasSubstr("tagged as array"), HasSubstr("string \"no array\""))));
    vars().Release(forged);
    EXPECT_THAT(newProblems(), SizeIs(1));
    EXPECT_EQ(references(string), 1);
    vars().Release(string);
}

TEST_F(AVar, OfAnImmediateTypeHasNothingToCount) {
    for (const PP_Var& var : {PP_MakeUndefined(), PP_MakeNull(), PP_MakeBool(PP_TRUE),
                              PP_MakeInt32(7), PP_MakeDouble(1.5)}) {
        vars().AddRef(var);
        vars().Release(var);
        vars().Release(var);
    }
    EXPECT_THAT(newProblems(), IsEmpty());
    EXPECT_EQ(table().liveVarCount(), 0U);
}

TEST_F(AVar, HasAnIdOfItsOwnThatIsNeverReused) {
    const PP_Var first = deadText("first");
    const PP_Var second = text("second");
    const PP_Var third = text("second");
    EXPECT_NE(first.value.as_id, 0);
    EXPECT_NE(second.value.as_id, first.value.as_id);
    EXPECT_NE(third.value.as_id, second.value.as_id);
    EXPECT_EQ(first.padding, 0);
    vars().Release(second);
    vars().Release(third);
    table().reset();
    const PP_Var later = text("after a reset");
    EXPECT_GT(later.value.as_id, third.value.as_id);
    vars().Release(later);
}

TEST_F(AVar, IsHeldByItsContainersApartFromTheModule) {
    const PP_Var inner = text("inner");
    const PP_Var array = arrays().Create();
    const PP_Var dictionary = dictionaries().Create();
    const PP_Var key = text("key");
    arrays().Set(array, 0, inner);
    arrays().Set(array, 1, inner);
    dictionaries().Set(dictionary, key, inner);
    EXPECT_EQ(references(inner), 1) << "containers' references are not the module's";
    vars().Release(inner);
    EXPECT_EQ(references(inner), 0);
    EXPECT_EQ(support::textOf(inner), "inner");
    vars().Release(array);
    EXPECT_EQ(support::textOf(inner), "inner") << "the dictionary still holds it";
    vars().Release(dictionary);
    vars().Release(key);
    EXPECT_EQ(table().liveVarCount(), 0U);
    EXPECT_EQ(support::textOf(inner), std::nullopt);
    EXPECT_THAT(newProblems(), SizeIs(1));
}

TEST_F(AVar, InContainersInsideEachOtherDiesWithTheOutermost) {
    PP_Var outer = text("innermost");
    for (int i = 0; i < 100000; ++i) {
        const PP_Var array = arrays().Create();
        arrays().Set(array, 0, outer);
        vars().Release(outer);
        outer = array;
    }
    EXPECT_EQ(table().liveVarCount(), 100001U);
    vars().Release(outer);
    EXPECT_EQ(table().liveVarCount(), 0U);
}

TEST_F(AVar, InACycleIsNeverFreedAndNotTheModulesLeak) {
    const PP_Var array = arrays().Create();
    arrays().Set(array, 0, array);
    vars().Release(array);
    EXPECT_EQ(table().liveVarCount(), 1U);
    EXPECT_THAT(table().moduleHeldVars(), IsEmpty());
    table().noteLeaks();
    EXPECT_THAT(newProblems(), IsEmpty());
    arrays().SetLength(array, 0);
    EXPECT_EQ(table().liveVarCount(), 0U) << "the cycle is broken";
}

TEST_F(AVar, IsListedWithReferencesKindAndContent) {
    const PP_Var array = support::moduleVar(Value::Array{1, 2, 3});
    const PP_Var dictionary = support::moduleVar(Value::Dictionary{{"b", 1}, {"a", 2}});
    const PP_Var buffer = support::buffers().Create(16);
    const PP_Var longText = text(std::string(100, 'x'));
    vars().AddRef(array);
    const std::vector<host::HeldVar> held = table().moduleHeldVars();
    ASSERT_THAT(held, SizeIs(4));
    EXPECT_EQ(held[0].preview, "array of 3");
    EXPECT_EQ(held[0].references, 2);
    EXPECT_EQ(held[1].preview, "dictionary {\"a\", \"b\"}");
    EXPECT_EQ(held[2].preview, "array buffer of 16 bytes");
    EXPECT_EQ(held[2].origin.call, "PPB_VarArrayBuffer.Create");
    EXPECT_THAT(held[3].preview, StartsWith("string \"xxxx"));
    EXPECT_LT(held[3].preview.size(), 100U);
    EXPECT_LT(held[2].origin.number, held[3].origin.number);
    for (const PP_Var& var : {array, array, dictionary, buffer, longText}) vars().Release(var);
}

TEST_F(AVar, HasItsWholeLifeRecorded) {
    table().recordOperations(true);
    const PP_Var var = text("lived");
    vars().AddRef(var);
    const PP_Var array = arrays().Create();
    arrays().Set(array, 0, var);
    const PP_Var again = arrays().Get(array, 0);
    vars().Release(again);
    vars().Release(var);
    vars().Release(var);
    vars().Release(array);
    EXPECT_THAT(operations(var.value.as_id),
                ElementsAre("PPB_Var.VarFromUtf8 +1 = 1", "PPB_Var.AddRef +1 = 2",
                            "PPB_VarArray.Get +1 = 3", "PPB_Var.Release -1 = 2",
                            "PPB_Var.Release -1 = 1", "PPB_Var.Release -1 = 0"));
    EXPECT_THAT(operations(array.value.as_id),
                ElementsAre("PPB_VarArray.Create +1 = 1", "PPB_Var.Release -1 = 0"));
    EXPECT_THAT(operations(), SizeIs(8));
    EXPECT_EQ(table().operations(var.value.as_id).front().preview, "string \"lived\"");

    table().recordOperations(false);
    vars().Release(text("not recorded"));
    EXPECT_THAT(operations(), SizeIs(8)) << "what was recorded stays";
    table().reset();
    EXPECT_THAT(operations(), IsEmpty());
    table().recordOperations(true);
    EXPECT_THAT(operations(), IsEmpty());
}

TEST_F(AVar, RecordsWhatTheHostGivesAndTakes) {
    const PP_Var var = host::toVar("page message", "given");
    table().recordOperations(true);
    table().giveToModule("PPP_Messaging.HandleMessage", var);
    EXPECT_EQ(references(var), 1);
    EXPECT_TRUE(table().takeFromModule("response", var));
    EXPECT_EQ(references(var), 0);
    EXPECT_THAT(operations(), ElementsAre("PPP_Messaging.HandleMessage +1 = 1", "response -1 = 0"));
    EXPECT_FALSE(table().takeFromModule("response", var));
    EXPECT_THAT(newProblems(), SizeIs(1));
    table().release(host::Holder::Host, "test", var);
    EXPECT_EQ(table().liveVarCount(), 0U);
}

TEST_F(AVar, IsCountedExactlyOnManyThreads) {
    const PP_Var var = text("shared by all");
    support::onThreads(4, [&](int) {
        for (int j = 0; j < 1000; ++j) {
            vars().AddRef(var);
            const PP_Var own = text("own");
            EXPECT_EQ(support::textOf(own), "own");
            vars().Release(own);
            EXPECT_EQ(support::textOf(var), "shared by all");
            vars().Release(var);
        }
    });
    EXPECT_EQ(references(var), 1);
    vars().Release(var);
}

TEST_F(AVar, IsNotedOnlyAThousandTimes) {
    const PP_Var var = deadText("gone");
    for (int i = 0; i < 1500; ++i) vars().Release(var);
    EXPECT_THAT(newProblems(), SizeIs(1000));
}

TEST_F(AVar, IsForgottenByAReset) {
    table().recordOperations(true);
    text("leaked");
    deadText("dead");
    table().noteLeaks();
    EXPECT_FALSE(table().operations().empty());
    table().reset();
    EXPECT_THAT(table().problems(), IsEmpty());
    EXPECT_THAT(table().moduleHeldVars(), IsEmpty());
    EXPECT_THAT(table().operations(), IsEmpty());
    EXPECT_EQ(table().liveVarCount(), 0U);
}

}  // namespace
