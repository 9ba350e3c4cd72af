#include "tools/navctl/feed/FeedOptions.h"

#include <gtest/gtest.h>

#include "tools/navctl/feed/FileEncoding.h"

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
    for (const auto& row : rows) {
        EXPECT_EQ(row.format, FeedFormatByContent(row.begin)) << row.begin;
    }
}

TEST(FeedFormat, IsToldByAnOptionThatIsForOneAlone)
{
    FeedOptions options;
    EXPECT_EQ(std::nullopt, FeedFormatByOptions(options));
    options.interval = 1.0;
    EXPECT_EQ(EFeedFormat::Csv, FeedFormatByOptions(options));
    FeedOptions dated;
    dated.day = 0;
    EXPECT_EQ(EFeedFormat::Nmea, FeedFormatByOptions(dated));
}

TEST(ForeignEncoding, NamesWhatAFeedCannotRead)
{
    const std::string words = "time,latitude,longitude\n";
    std::string little;
    std::string big;
    for (const char letter : words) {
        little += {letter, '\0'};
        big += {'\0', letter};
    }
    const std::pair<std::string, std::string> rows[] = {
        {little, "iconv -f UTF-16LE"},
        {big, "iconv -f UTF-16BE"},
        {"\xff\xfe" + little, "iconv -f UTF-16 "},
        {"\xfe\xff" + big, "iconv -f UTF-16 "},
        {"\x1f\x8b\x08", ": zcat FILE"},
        {std::string("PK\x03\x04", 4), ": unzip -p FILE"},
        {"BZh9", ": bzcat FILE"},
    };
    for (const auto& [text, reader] : rows) {
        EXPECT_NE(std::string::npos, ForeignEncoding(text).find(reader)) << reader;
    }
    for (const std::string& text :
         {std::string(), words, "\xEF\xBB\xBF" + words, std::string(99, '\0'),
          std::string("\0\x01binary", 8), std::string("\xb5\x62\x01\x07")}) {
        EXPECT_EQ("", ForeignEncoding(text)) << text;
    }
}
