#include <gtest/gtest.h>

#include "tests/support/system/private_world.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests)) norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    return RUN_ALL_TESTS();
}
