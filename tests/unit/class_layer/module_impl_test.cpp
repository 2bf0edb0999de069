#include "ppapi/cpp/module_impl.h"

#include "layer_test.h"

namespace pp {
namespace {

struct OwnTable {
    int number;
};
struct MissingTable {};
struct NamelessTable {};

template <>
const char* interface_name<OwnTable>() {
    return "Own;1.0";
}

template <>
const char* interface_name<MissingTable>() {
    return "Missing;1.0";
}

const OwnTable kTable = {42};

using ALookUp = LayerTest;

// One test: the answers are remembered for the process.
TEST_F(ALookUp, AsksTheBrowserOnceAndRemembersNullToo) {
    EXPECT_EQ(interface_name<NamelessTable>(), nullptr);
    support::EventLog asked;
    host::PluginHost::Options options;
    options.interfaces["Own;1.0"] = &kTable;
    options.onCall = [&](const std::string& what) { asked.add(what); };
    load(std::move(options));
    const std::size_t before = asked.all().size();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(has_interface<OwnTable>());
        EXPECT_EQ(get_interface<OwnTable>(), &kTable);
        EXPECT_FALSE(has_interface<MissingTable>());
        EXPECT_EQ(get_interface<MissingTable>(), nullptr);
    }
    const std::vector<std::string> all = asked.all();
    EXPECT_THAT(
        std::vector<std::string>(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
        ::testing::ElementsAre("GetInterface Own;1.0", "GetInterface Missing;1.0"));
    m_host->unload();
    m_host.reset();
}

}  // namespace
}  // namespace pp
