// Which application a page belongs to.

#include "wrapper/place.h"

#include <gtest/gtest.h>

#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace browser {

static std::ostream& operator<<(std::ostream& stream, const Place& place) {
    return stream << place.scheme << "://" << place.host << ":" << place.port << place.path;
}

}  // namespace browser

namespace {

using browser::applicationOf;
using browser::lies;
using browser::Place;
using browser::PlacedApplication;

const Place kFolder = {"file", "", "", "/apps/one/"};
const Place kOrigin = {"http", "app.example", "8000", "/"};

TEST(APage, LiesInItsFolderAndInThoseAroundIt) {
    for (const char* path : {"/apps/one/", "/apps/one/index.html", "/apps/one/deeper/index.html"}) {
        EXPECT_TRUE(lies({"file", "", "", path}, kFolder)) << path;
    }
    EXPECT_TRUE(lies({"http", "app.example", "8000", "/"}, kOrigin));
    EXPECT_TRUE(lies({"http", "app.example", "8000", "/any/page"}, kOrigin));
}

TEST(APage, DoesNotLieWhereAnyPartDiffers) {
    const std::vector<Place> strangers = {
        {"file", "", "", "/apps/one"},        {"file", "", "", "/apps/one2/index.html"},
        {"file", "", "", "/apps/index.html"}, {"file", "", "", "/apps/ONE/index.html"},
        {"file", "", "", "/x/apps/one/"},     {"file", "", "", ""},
        {"file", "server", "", "/apps/one/"}, {"http", "", "", "/apps/one/"},
        {"about", "", "", "blank"},           {"", "", "", ""},
    };
    for (const Place& page : strangers) EXPECT_FALSE(lies(page, kFolder)) << page;
    const std::vector<Place> foreigners = {
        {"https", "app.example", "8000", "/"}, {"http", "app.example", "", "/"},
        {"http", "app.example", "80", "/"},    {"http", "app.example.evil.example", "8000", "/"},
        {"http", "evil.example", "8000", "/"}, {"http", "", "8000", "/"},
        {"http", "app.example", "8000", ""},
    };
    for (const Place& page : foreigners) EXPECT_FALSE(lies(page, kOrigin)) << page;
}

TEST(APage, LiesInNothingThatIsNoFolder) {
    for (const char* path : {"", "/apps/on", "/apps/one"}) {
        EXPECT_FALSE(lies({"file", "", "", "/apps/one/index.html"}, {"file", "", "", path}))
            << path;
    }
}

TEST(APage, BelongsToTheInnermostApplicationAroundIt) {
    const PlacedApplication outer = {{"file", "", "", "/apps/"}, {"outer", {"a"}}};
    const PlacedApplication inner = {kFolder, {"inner", {"b"}}};
    const PlacedApplication other = {kOrigin, {"other", {"c"}}};
    const Place page = {"file", "", "", "/apps/one/index.html"};
    for (const std::vector<PlacedApplication>& applications :
         {std::vector<PlacedApplication>{outer, inner, other}, {other, inner, outer}}) {
        EXPECT_EQ(applicationOf(page, applications).name, "inner");
        EXPECT_EQ(applicationOf(page, applications).grants, (std::set<std::string>{"b"}));
        EXPECT_EQ(applicationOf({"file", "", "", "/apps/index.html"}, applications).name, "outer");
        EXPECT_EQ(applicationOf(kOrigin, applications).grants, (std::set<std::string>{"c"}));
    }
}

TEST(APage, OfNoApplicationIsGrantedNothing) {
    const std::vector<PlacedApplication> applications = {{kFolder, {"inner", {"b"}}}};
    for (const Place& page : {Place{}, Place{"about", "", "", "blank"}, kOrigin}) {
        EXPECT_EQ(applicationOf(page, applications).name, "") << page;
        EXPECT_TRUE(applicationOf(page, applications).grants.empty()) << page;
    }
    EXPECT_TRUE(applicationOf(kFolder, {}).grants.empty());
}

}  // namespace
