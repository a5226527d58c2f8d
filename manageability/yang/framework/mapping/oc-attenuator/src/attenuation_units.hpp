// SPDX-License-Identifier: Apache-2.0
//
// Attenuation as numbers and as text: whole tenths of a dB natively, dB with two fraction digits in OpenConfig.
//
// Formatted input and output of doubles is most of what a leaf costs, so the texts and values that devices have take a
// short way. It gives what the long way gives, bit for bit; the long way stands behind it and takes everything.
#ifndef OC_ATTENUATOR_ATTENUATION_UNITS_HPP
#define OC_ATTENUATOR_ATTENUATION_UNITS_HPP

#include "zpf/zpf.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace oc_attenuator {

constexpr std::size_t kAttenuationTextBytes = 200;

/** Reads "12" or "12.5". @return false for any other form, and for more digits than a double holds exactly */
inline bool read_plain_decimal(const char* text, double& number)
{
    constexpr int kMostDigits = 15;
    int64_t digits_value = 0;
    int64_t scale = 1; // of the digits behind the point: a power of ten, so one division rounds as a scan does
    int digits = 0;
    bool in_fraction = false;
    for (; *text != '\0'; ++text) {
        if (*text == '.' && digits > 0 && !in_fraction) {
            in_fraction = true;
        } else if (*text >= '0' && *text <= '9' && ++digits <= kMostDigits) {
            digits_value = digits_value * 10 + (*text - '0');
            scale *= in_fraction ? 10 : 1;
        } else {
            return false;
        }
    }
    number = static_cast<double>(digits_value) / static_cast<double>(scale);
    return digits > 0 && in_fraction == (scale > 1);
}

/** Number that a text begins with, as "%lf" scans it; 0 for text that is no number. */
inline double number_in(const char* text)
{
    double number = 0.0;
    if (!read_plain_decimal(text, number) && std::sscanf(text, "%lf", &number) != 1) {
        number = 0.0;
    }
    return number;
}

/** Native text -> dB. Text that is no number counts as 0. */
inline double native_text_to_db(const char* native_tenths)
{
    return number_in(native_tenths) / 10.0;
}

/** OpenConfig text -> tenths of a dB, not yet a whole number. Text that is no number counts as 0. */
inline double db_text_to_tenths(const char* text_db)
{
    return number_in(text_db) * 10.0;
}

/** dB -> OpenConfig text. */
inline void write_db_text(double db, char (&text)[kAttenuationTextBytes])
{
    constexpr double kMostShort_db = 1e6;
    if (!std::signbit(db) && db < kMostShort_db) {
        const int tenths = static_cast<int>(std::lround(db * 10.0));
        if (tenths / 10.0 == db) { // whole tenths: the second fraction digit is 0
            char* end = std::to_chars(text, text + sizeof text, tenths / 10).ptr;
            *end++ = '.';
            *end++ = static_cast<char>('0' + tenths % 10);
            *end++ = '0';
            *end = '\0';
            return;
        }
    }
    std::snprintf(text, sizeof text, "%.2f", db);
}

} // namespace oc_attenuator

#endif
