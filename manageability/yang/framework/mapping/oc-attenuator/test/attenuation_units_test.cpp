// SPDX-License-Identifier: Apache-2.0
//
// Attenuation texts and numbers against the formatted input and output that define them.
#include "attenuation_units.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace {

double scanned(const std::string& text)
{
    double number = 0.0;
    return std::sscanf(text.c_str(), "%lf", &number) == 1 ? number : 0.0;
}

std::string printed(double db)
{
    char text[400];
    std::snprintf(text, sizeof text, "%.2f", db);
    return text;
}

std::string written(double db)
{
    char text[oc_attenuator::kAttenuationTextBytes];
    oc_attenuator::write_db_text(db, text);
    return text;
}

/** Equal in every bit; any two that are no numbers count as equal. */
void expect_same(double number, double expected, const std::string& text)
{
    if (!std::isnan(expected)) {
        ASSERT_EQ(number, expected) << text;
        ASSERT_EQ(std::signbit(number), std::signbit(expected)) << text;
    } else {
        ASSERT_TRUE(std::isnan(number)) << text;
    }
}

TEST(AttenuationText, IsReadAsAScanReadsIt)
{
    static const char* const pieces[] = {"0", "1", "2", "9",   "12",  "5",  ".",         "-",       "+",
                                         " ", "e", "x", "nan", "inf", "dB", "123456789", "00000000"};
    std::mt19937 random{1};
    for (int i = 0; i < 50000; ++i) {
        std::string text;
        for (std::size_t piece = 0, count = random() % 6; piece < count; ++piece) {
            text += pieces[random() % std::size(pieces)];
        }
        expect_same(oc_attenuator::native_text_to_db(text.c_str()), scanned(text) / 10.0, text);
        expect_same(oc_attenuator::db_text_to_tenths(text.c_str()), scanned(text) * 10.0, text);
    }
}

TEST(AttenuationText, IsWrittenAsTwoFractionDigits)
{
    for (int tenths = -2000; tenths <= 20000; ++tenths) {
        ASSERT_EQ(written(tenths / 10.0), printed(tenths / 10.0)) << tenths;
        ASSERT_EQ(written(tenths / 100.0), printed(tenths / 100.0)) << tenths;
        ASSERT_EQ(written(tenths / 1000.0), printed(tenths / 1000.0)) << tenths;
    }
    for (double db : {-0.0, 0.004, 0.005, 99999.9, 100000.0, 999999.9, 1e6, 1e15, std::nextafter(12.5, 13.0),
                      std::nextafter(0.1, 0.0), std::numeric_limits<double>::infinity(),
                      -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        ASSERT_EQ(written(db), printed(db));
    }
}

} // namespace
