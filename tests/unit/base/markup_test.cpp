#include "base/markup.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(PlainTextAsMarkup, HasNothingThatMeansSomethingThere) {
    EXPECT_EQ(base::escapedForMarkup(R"(<b a="1" c='2'>&amp;)"),
              "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;amp;");
}

TEST(PlainTextAsMarkup, IsElseAsItWas) {
    const std::string text("caf\xC3\xA9 {{title}}\n\0", 16);
    EXPECT_EQ(base::escapedForMarkup(text), text);
    EXPECT_EQ(base::escapedForMarkup(""), "");
}

}  // namespace
