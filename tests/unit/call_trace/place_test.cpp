// The service reads a record whose type the traced library has: both have to agree on its layout.

#include "place.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "trace/location.h"

namespace {

using ReadPlace = call_trace::Place;

TEST(APlace, IsReadAsTheTracedLibraryWritesIt) {
    EXPECT_EQ(sizeof(ReadPlace), sizeof(TSCodeLocation));
    EXPECT_EQ(alignof(ReadPlace), alignof(TSCodeLocation));
    EXPECT_EQ(offsetof(ReadPlace, file), offsetof(TSCodeLocation, file));
    EXPECT_EQ(offsetof(ReadPlace, line), offsetof(TSCodeLocation, line));
    EXPECT_EQ(offsetof(ReadPlace, function), offsetof(TSCodeLocation, function));
    EXPECT_EQ(offsetof(ReadPlace, id), offsetof(TSCodeLocation, id));
    EXPECT_EQ(offsetof(ReadPlace, enabled), offsetof(TSCodeLocation, enabled));
    EXPECT_TRUE((std::is_same_v<decltype(ReadPlace::file), decltype(TSCodeLocation::file)>));
    EXPECT_TRUE((std::is_same_v<decltype(ReadPlace::line), decltype(TSCodeLocation::line)>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(ReadPlace::function), decltype(TSCodeLocation::function)>));
    EXPECT_TRUE((std::is_same_v<decltype(ReadPlace::id), decltype(TSCodeLocation::id)>));
    EXPECT_TRUE((std::is_same_v<decltype(ReadPlace::enabled), decltype(TSCodeLocation::enabled)>));
}

TEST(APlace, HasTheValuesOfTheRecord) {
    int id = 7;
    int enabled = 1;
    const TSCodeLocation location{"source.cpp", 41, "void function()", &id, &enabled};
    const ReadPlace& place = call_trace::placeOf(location);
    EXPECT_STREQ(place.file, "source.cpp");
    EXPECT_EQ(place.line, 41);
    EXPECT_STREQ(place.function, "void function()");
    EXPECT_EQ(place.id, &id);
    EXPECT_EQ(place.enabled, &enabled);
}

}  // namespace
