#include <vx4/tessora1d.h>

#include <gtest/gtest.h>

#include <string>

TEST(Version, IsTheLibraryRelease) { EXPECT_EQ(std::string(vx4::tessora1d::version()), "5.3.0.0"); }
