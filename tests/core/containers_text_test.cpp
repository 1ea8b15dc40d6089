// The text helpers: reserved doubles survive text round trips bit for bit,
// written numbers read back to what was written, and identifier repair
// always yields a valid identifier.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include "orvil/textutil.h"

namespace {

uint64_t Bits(double d) {
    uint64_t b;
    memcpy(&b, &d, sizeof b);
    return b;
}

TEST(ContainersText, ReservedDoublesRoundTripExactly) {
    struct Case {
        double value;
        uint64_t bits;
        const char* written;
        const char* alias;
    };
    const Case cases[] = {
        {QEL_UNDEFINED_DOUBLE, 0x0020000000000000ULL, "0.0E-2", "UNDEF."},
        {QEL_ILLEGAL_DOUBLE, 0x0028000000000000ULL, "0.0E-3", "ILLEGAL"},
        {QEL_NA_DOUBLE, 0x0030000000000000ULL, "0.0E-4", "NA"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Bits(c.value), c.bits);
        char out[400];
        EXPECT_EQ(QEL_doubleToString(c.value, out, 3), 0);
        EXPECT_STREQ(out, c.written);
        for (const char* text : {c.written, c.alias}) {
            double back = 0.0;
            EXPECT_EQ(QEL_stringToDouble(text, back), 0);
            EXPECT_EQ(Bits(back), c.bits) << text;
        }
    }
    // Only exact matches are reserved: anything else is a plain number.
    double d = 1.0;
    EXPECT_EQ(QEL_stringToDouble("0.0E-20", d), 0);
    EXPECT_EQ(d, 0.0);
    EXPECT_EQ(QEL_stringToDouble(" NA", d), -2);
    EXPECT_EQ(Bits(QEL_nan()), 0x7FF8000000000000ULL);
}

TEST(ContainersText, WrittenNumbersReadBackToThemselves) {
    std::mt19937_64 rng(9);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    char out[400], again[400];
    for (int round = 0; round < 5000; round++) {
        double scale = std::ldexp(1.0, static_cast<int>(rng() % 80) - 40);
        double v = unit(rng) * scale;
        ASSERT_EQ(QEL_doubleToString(v, out, 0), 0);
        double back = 0.0;
        ASSERT_EQ(QEL_stringToDouble(out, back), 0);
        ASSERT_LE(std::fabs(back - v), 5e-9 * (1 + 1e-12) + std::fabs(v) * 1e-15) << out;
        // Eight decimals, and writing the value read gives the same text.
        const char* dot = strchr(out, '.');
        ASSERT_NE(dot, nullptr);
        ASSERT_EQ(strlen(dot + 1), 8u);
        QEL_doubleToString(back, again, 0);
        ASSERT_STREQ(out, again);
    }
    double x = 7.0;
    EXPECT_EQ(QEL_stringToDouble("abc", x), -2);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(QEL_stringToDouble("2.5kg", x), 0);
    EXPECT_EQ(x, 2.5);
    EXPECT_EQ(QEL_stringToDouble(nullptr, x), -2);

    for (int round = 0; round < 1000; round++) {
        int v = static_cast<int>(rng());
        char text[16];
        QEL_intToString(v, text);
        int back = 0;
        EXPECT_EQ(QEL_stringToInt(text, back), 0);
        ASSERT_EQ(back, v);
    }
    int n = 5;
    EXPECT_EQ(QEL_stringToInt("x", n), 0);
    EXPECT_EQ(n, 0);
    std::string s = "n=";
    QEL_appendInt(s, -4);
    QEL_appendDouble(s, 0.25);
    EXPECT_EQ(s, "n=-40.25");
}

bool IsIdentifier(const std::string& s) {
    if (s.empty() || !isalpha(static_cast<unsigned char>(s[0]))) return false;
    for (char c : s) {
        if (!isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    }
    return true;
}

TEST(ContainersText, NameToIdentifierRepairsOnlyWhatIsBroken) {
    std::mt19937 rng(4);
    static const char alphabet[] = "aZ09_ .-";
    for (int round = 0; round < 3000; round++) {
        std::string name;
        int length = rng() % 6;
        for (int k = 0; k < length; k++) name += alphabet[rng() % (sizeof alphabet - 1)];
        int ordinal = static_cast<int>(rng() % 5) - 1;
        std::string edited = name;
        bool changed = QEL_nameToIdentifier(edited, ordinal);
        ASSERT_EQ(changed, !IsIdentifier(name)) << name;
        if (!changed) {
            ASSERT_EQ(edited, name);
            continue;
        }
        std::string prefix = ordinal >= 0 ? "o__" + std::to_string(ordinal) + "__" : "";
        ASSERT_EQ(edited.compare(0, prefix.size(), prefix), 0);
        ASSERT_EQ(edited.size(), prefix.size() + name.size());
        if (ordinal >= 0) {
            ASSERT_TRUE(IsIdentifier(edited)) << edited;
        }
    }
    std::string a = "1 a", b = "ok_1";
    EXPECT_TRUE(QEL_nameToIdentifier(a, 3));
    EXPECT_EQ(a, "o__3__1_a");
    EXPECT_FALSE(QEL_nameToIdentifier(b, 3));
    EXPECT_EQ(b, "ok_1");
}

}  // namespace
