// The service reads a record whose type the traced library has: both have to agree on its layout.

#include "place.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "trace/location.h"

namespace {

using call_trace::Place;

TEST(APlace, IsReadAsTheTracedLibraryWritesIt) {
    EXPECT_EQ(sizeof(Place), sizeof(TSCodeLocation));
    EXPECT_EQ(alignof(Place), alignof(TSCodeLocation));
    EXPECT_EQ(offsetof(Place, file), offsetof(TSCodeLocation, file));
    EXPECT_EQ(offsetof(Place, line), offsetof(TSCodeLocation, line));
    EXPECT_EQ(offsetof(Place, function), offsetof(TSCodeLocation, function));
    EXPECT_EQ(offsetof(Place, id), offsetof(TSCodeLocation, id));
    EXPECT_EQ(offsetof(Place, enabled), offsetof(TSCodeLocation, enabled));
    EXPECT_TRUE((std::is_same_v<decltype(Place::file), decltype(TSCodeLocation::file)>));
    EXPECT_TRUE((std::is_same_v<decltype(Place::line), decltype(TSCodeLocation::line)>));
    EXPECT_TRUE((std::is_same_v<decltype(Place::function), decltype(TSCodeLocation::function)>));
    EXPECT_TRUE((std::is_same_v<decltype(Place::id), decltype(TSCodeLocation::id)>));
    EXPECT_TRUE((std::is_same_v<decltype(Place::enabled), decltype(TSCodeLocation::enabled)>));
}

TEST(APlace, HasTheValuesOfTheRecord) {
    int id = 7;
    int enabled = 1;
    const TSCodeLocation location{"source.cpp", 41, "void function()", &id, &enabled};
    const Place& place = call_trace::placeOf(location);
    EXPECT_STREQ(place.file, "source.cpp");
    EXPECT_EQ(place.line, 41);
    EXPECT_STREQ(place.function, "void function()");
    EXPECT_EQ(place.id, &id);
    EXPECT_EQ(place.enabled, &enabled);
}

}  // namespace
