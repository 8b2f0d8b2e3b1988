#include "ModuleArguments.h"

#include <gtest/gtest.h>

// The server-side effect of this quoting is checked against a real server in the device tests;
// here only the shapes that the server's two parsers rely on.
TEST(ModuleArguments, QuotesAValueSoItCannotEndEarly) {
    EXPECT_EQ(moduleargs::quote("usb_dac"), "'usb_dac'");
    EXPECT_EQ(moduleargs::quote("it's a=b"), "'it\\'s a=b'");
    EXPECT_EQ(moduleargs::quote("back\\slash"), "'back\\\\slash'");
}

TEST(ModuleArguments, PropertyListsQuoteEachValueAndTickTheWholeList) {
    EXPECT_EQ(moduleargs::quoteProperties(
                  {{"device.description", "Küche \"Süd\""}, {"media.name", "it's"}}),
              "'device.description=\"Küche \\\"Süd\\\"\" media.name=\"it\\'s\"'");
}
