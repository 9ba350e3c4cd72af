#include "tools/navctl/feed/FeedOptions.h"

#include <gtest/gtest.h>

TEST(FeedFormat, IsToldByTheBeginningOfTheInput)
{
    const std::optional<EFeedFormat> unknown;
    const struct
    {
        std::string begin;
        std::optional<EFeedFormat> format;
    } rows[] = {
        {"", unknown},
        {"4807.038,N,0113", unknown},
        {"4807.038,N,01131.000,E*47\r\n", unknown},
        {"4807.038,N,01131.000,E*47\r\n$G", EFeedFormat::Nmea},
        {"$GPGGA,", EFeedFormat::Nmea},
        {"latitude,lon", unknown},
        {"time,latitude,longitude\n", EFeedFormat::Csv},
        {"\r\n\xEF\xBB\xBFX_m,Y_m\r\n1,2\r\n", EFeedFormat::Csv},
        {"price in $,lat,lon\n", EFeedFormat::Csv},
        {"# lat, lon\n$GPGGA,", EFeedFormat::Nmea},
        {"# time, lat, lon, paid in $\n", unknown},
        {"# a remark\r\ntime,lat,lon\n", EFeedFormat::Csv},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.format, FeedFormatByContent(row.begin)) << row.begin;
}
