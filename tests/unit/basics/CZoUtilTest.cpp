#include "common/CZoUtil.h"

#include <array>
#include <cstring>
#include <stdexcept>

#include <gtest/gtest.h>

TEST(CZoUtil, EthertypeHasFourDigitsAtLeast)
{
    EXPECT_EQ(CZoUtil::ethertypeToString(0x800), "0x0800");
    EXPECT_EQ(CZoUtil::ethertypeToString(0x88A8), "0x88a8");
    EXPECT_EQ(CZoUtil::ethertypeToString(0), "0x0000");
    EXPECT_EQ(CZoUtil::ethertypeToString(-1), "0xffffffff");
}

TEST(CZoUtil, MacIsUppercaseAndFilled)
{
    const std::array<unsigned char, 6> mac{0x00, 0x0a, 0xff, 0x1b, 0x80, 0x07};
    EXPECT_EQ(CZoUtil::macToString(mac.data()), "00:0A:FF:1B:80:07");
    EXPECT_THROW(static_cast<void>(CZoUtil::macToString(nullptr)), std::logic_error);
}

TEST(CZoUtil, SixtyFourBitsGoMostSignificantByteFirst)
{
    const std::array<unsigned char, 8> wire{0x81, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xf8};
    const auto host = static_cast<long long>(0x81020304050607f8ULL);
    const long long onWire = hton_64(host);
    EXPECT_EQ(std::memcmp(&onWire, wire.data(), wire.size()), 0);
    EXPECT_EQ(ntoh_64(onWire), host);
}
