// The text helpers: reserved doubles survive text round trips bit for bit,
// and written numbers read back to what was written. The identifier rules
// of QEL_idArray and QEL_header against naive predicates on random texts,
// the ids it creates, and the contracts around its validating operations.
// The error log: default texts, prefixes, and the reading bounds, including
// the spare slot past the last entry.
#include <cstdint>
#include <cstring>

#include "core_helpers.h"
#include "orvil/textutil.h"

namespace {

using coretest::Ints;

uint64_t Bits(double d) {
    uint64_t b;
    memcpy(&b, &d, sizeof b);
    return b;
}

TEST(ContainersText, ReservedDoublesRoundTripExactly) {
    const struct {
        double value;
        uint64_t bits;
        const char *written, *alias;
    } cases[] = {
        {QEL_UNDEFINED_DOUBLE, 0x0020000000000000ULL, "0.0E-2", "UNDEF."},
        {QEL_ILLEGAL_DOUBLE, 0x0028000000000000ULL, "0.0E-3", "ILLEGAL"},
        {QEL_NA_DOUBLE, 0x0030000000000000ULL, "0.0E-4", "NA"},
    };
    char out[400];
    double back = 1.0;
    for (const auto& c : cases) {
        EXPECT_EQ(Bits(c.value), c.bits);
        EXPECT_EQ(QEL_doubleToString(c.value, out, 3), 0);
        EXPECT_STREQ(out, c.written);
        for (const char* text : {c.written, c.alias}) {
            EXPECT_EQ(QEL_stringToDouble(text, back), 0);
            EXPECT_EQ(Bits(back), c.bits) << text;
        }
    }
    // Only exact matches are reserved: anything else is a plain number.
    EXPECT_EQ(QEL_stringToDouble("0.0E-20", back), 0);
    EXPECT_EQ(back, 0.0);
    EXPECT_EQ(QEL_stringToDouble(" NA", back), -2);
    EXPECT_EQ(Bits(QEL_nan()), 0x7FF8000000000000ULL);
}

TEST(ContainersText, WrittenNumbersReadBackToThemselves) {
    std::mt19937_64 rng(9);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    char out[400], again[400], text[16];
    for (int round = 0; round < 5000; round++) {
        const double v = unit(rng) * std::ldexp(1.0, static_cast<int>(rng() % 80) - 40);
        double back = 0.0;
        ASSERT_EQ(QEL_doubleToString(v, out, 0), 0);
        ASSERT_EQ(QEL_stringToDouble(out, back), 0);
        ASSERT_LE(std::fabs(back - v), 5e-9 * (1 + 1e-12) + std::fabs(v) * 1e-15) << out;
        // Eight decimals, and writing the value read gives the same text.
        ASSERT_EQ(strlen(strchr(out, '.')), 9u) << out;
        QEL_doubleToString(back, again, 0);
        ASSERT_STREQ(out, again);
        const int i = static_cast<int>(rng());
        int iback = 0;
        QEL_intToString(i, text);
        ASSERT_EQ(QEL_stringToInt(text, iback), 0);
        ASSERT_EQ(iback, i);
    }
    // Text that is no number reads as 0 (refused as a double, not as an
    // int); a number ends at the first character that cannot continue it.
    double x = 7.0, y = 7.0, z = 7.0;
    int n = 5;
    EXPECT_EQ(Ints({-2, 0, -2, 0}), Ints({QEL_stringToDouble("abc", x), QEL_stringToDouble("2.5kg", y),
                                         QEL_stringToDouble(nullptr, z), QEL_stringToInt("x", n)}));
    EXPECT_EQ(std::vector<double>({0.0, 2.5, 0.0}), std::vector<double>({x, y, static_cast<double>(n)}));
    std::string s = "n=";
    QEL_appendInt(s, -4);
    QEL_appendDouble(s, 0.25);
    EXPECT_EQ(s, "n=-40.25");
}

bool NaiveIdentifier(const std::string& s) {
    return !s.empty() && isalpha(static_cast<unsigned char>(s[0])) &&
           std::all_of(s.begin(), s.end(), [](char c) { return isalnum(static_cast<unsigned char>(c)) || c == '_'; });
}

std::string RandomText(std::mt19937& rng, int maxLength) {
    static const char alphabet[] = "abZ19_ -.@\xe9";
    std::string s;
    for (int k = rng() % (maxLength + 1); k > 0; k--) s += alphabet[rng() % (sizeof alphabet - 1)];
    return s;
}

// Repairs written out: a bad first character replaced by (or, in the
// extra form, prefixed with) "x", any other bad character made "_".
std::string NaiveRepair(std::string s, bool extra) {
    if (!isalpha(static_cast<unsigned char>(s[0]))) s = extra ? "x" + s : "x" + s.substr(1);
    for (char& c : s) {
        if (!isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return s;
}

TEST(ContainersIds, ValidityUniquenessAndRepairMatchNaiveRules) {
    for (unsigned seed = 1; seed <= 20; seed++) {
        std::mt19937 rng(seed);
        const bool allowBlank = seed % 2 == 0;
        QEL_idArray ids(allowBlank);
        std::vector<std::string> held;
        for (int step = 0; step < 300; step++) {
            const std::string s = RandomText(rng, 3);
            // Headers accept "@" ids as they stand, and never a blank.
            ASSERT_EQ(QEL_header::IsThisIdValid(s.c_str()), s[0] == '@' || NaiveIdentifier(s) ? 1 : 0) << s;
            const bool fresh = std::find(held.begin(), held.end(), s) == held.end();
            const bool expect = s.empty() ? allowBlank : NaiveIdentifier(s) && fresh;
            ASSERT_EQ(ids.ValidId(s.c_str()), expect ? 1 : 0) << s;
            const int pos = rng() % 2 ? static_cast<int>(rng() % (held.size() + 1)) : -1;
            ASSERT_EQ(pos < 0 ? ids.Add(s.c_str()) : ids.Insert(pos, s.c_str()), expect ? 0 : -2);
            if (expect) held.insert(pos < 0 ? held.end() : held.begin() + pos, s);
            char plain[16], extra[16];
            snprintf(plain, sizeof plain, "%s", s.c_str());
            snprintf(extra, sizeof extra, "%s", s.c_str());
            ASSERT_EQ((step % 2 ? QEL_header::MakeValidId : QEL_idArray::MakeValidId)(plain), s.empty() ? -2 : 0);
            ASSERT_EQ(QEL_idArray::MakeValidIdExtra(extra), s.empty() ? -2 : 0);
            if (s.empty()) continue;
            ASSERT_EQ(NaiveRepair(s, false), plain) << s;
            ASSERT_EQ(NaiveRepair(s, true), extra) << s;
        }
        ASSERT_EQ(held, std::vector<std::string>(ids.Items(), ids.Items() + ids.NumItems()));
        EXPECT_EQ(ids.CheckConsistency(), 0);
        EXPECT_EQ(ids.ValidId(nullptr), 0);
    }
    EXPECT_EQ(QEL_idArray::MakeValidId(nullptr), -2);
    EXPECT_EQ(QEL_header::IsThisIdValid(nullptr), 0);
}

TEST(ContainersIds, CreatedIdsAreTheFirstFreeCandidate) {
    std::mt19937 rng(5);
    static const char* const pool[] = {"Node", "Node0", "Node1", "Node3", "x", "x2", "a_b", "xa_b"};
    static const char* const bases[] = {"Node", "", nullptr, "a b", "x", "1a b"};
    for (int round = 0; round < 500; round++) {
        QEL_idArray ids;
        for (int k = 0; k < 6; k++) ids.Add(pool[rng() % 8]);
        const char* base = bases[rng() % 6];
        const int number = static_cast<int>(rng() % 6) - 3;
        char out[QEL_idArray::idBufferSize];
        ASSERT_EQ(ids.CreateValidId(base, number, out), 0);
        const std::string fixed = NaiveRepair(base && *base ? base : "x", true);
        std::string expect = fixed;
        if (number >= 0 || !ids.ValidId(fixed.c_str())) {
            int k = std::max(number, 0);
            while (ids.IsInList((fixed + std::to_string(k)).c_str())) k++;
            expect = fixed + std::to_string(k);
        }
        ASSERT_EQ(expect, out);
    }
    QEL_idArray ids;
    for (const char* id : {"Node", "Node0"}) ids.Add(id);
    EXPECT_EQ(ids.CreateAndAddValidId("Node", -1), 0);
    EXPECT_EQ(ids.CreateAndInsertValidId("Node", 5, 0), 0);
    EXPECT_EQ((std::vector<std::string>{"Node5", "Node", "Node0", "Node1"}), coretest::Texts(ids));
}

// An id may stand again at the position it is checked for; a copy takes
// the blank rule, not the contents; contents that broke the rules (assigned
// unchecked) are repaired, a taken id getting the first free number from 2.
// On a string array that is not ready, changes are refused with -567 and
// lookups find nothing; setting its size rebuilds it.
TEST(ContainersIds, ContractsAroundTheValidatingOperations) {
    QEL_idArray ids(true), strict;
    ids.Add("a_1");
    ids.Add("b");
    EXPECT_EQ(ids.ValidId("a_1", 0), 1);
    EXPECT_EQ(ids.SetString(0, "a_1"), 0);
    EXPECT_EQ(ids.SetString(0, "b"), -2);
    QEL_idArray copy(ids);
    EXPECT_TRUE(copy.AllowsBlank() && copy.NumItems() == 0);
    EXPECT_EQ(strict.AddBlank(), 0);
    EXPECT_EQ(strict.CheckConsistency(), -568);
    QEL_stringArray raw, broken, target;
    for (const char* text : {"a", "a", "1b", ""}) raw.Add(text);
    strict = raw;
    ASSERT_EQ(strict.MakeConsistent(), 0);
    EXPECT_EQ(strict.CheckConsistency(), 0);
    EXPECT_EQ((std::vector<std::string>{"a", "a2", "x1b", "x2"}), coretest::Texts(strict));
    broken.Add("a");
    broken.flags &= ~QEL_object::readyFlag;
    const int statuses[] = {broken.Add("b"), broken.SetString(0, "b"), broken.FindPosition("a"), broken.Delete(0),
                            target = broken, target.FillFrom(broken)};
    EXPECT_EQ(Ints({-567, -567, -2, -2, -567, -567}), Ints(statuses, statuses + 6));
    EXPECT_EQ(broken.CheckReadiness(), 0);  // the contents are sound
    broken.flags &= ~QEL_object::readyFlag;
    EXPECT_EQ(broken.SetSize(broken.GetSize()), 0);
    EXPECT_TRUE(broken.IsReady());
    EXPECT_EQ(broken[0], nullptr);
}

TEST(Errors, DefaultTextsOfEveryCode) {
    const std::pair<const char*, std::vector<int>> table[] = {
        {"NO ERROR", {0, -1, -3, -4, -5, -19, -100, -101, -102, -127, -567, -568}},
        {"UNKNOWN ERROR CODE", {-6, -7, -11, -26, -43, -52, -99, -129, 1, -1000}},
        {"OUT OF RANGE", {-2}}, {"ILLEGAL IDENTIFIER", {-30}}, {"DUPLICATED IDENTIFIER", {-32}},
        {"OUT OF MEMORY", {-42}}, {"WRONG NODE TYPE", {-51}}, {"FILE I/O FAILED", {-103}},
        {"NO MORE TOKENS", {-111}}, {"LEXICAL ERROR. CHARACTER UNKNOWN", {-126}}, {"UNEXPECTED END OF FILE", {-128}},
    };
    for (const auto& [text, codes] : table) {
        for (int code : codes) EXPECT_STREQ(text, QEL_errorStringHandler::GetDefaultErrorString(code)) << code;
    }
}

// Random entries against a plain vector of (code, text) pairs; a flush
// leaves stale codes readable in the spare slot past the last entry.
TEST(Errors, LogKeepsEntriesInOrderOfArrival) {
    std::mt19937 rng(2);
    QEL_errorStringHandler log;
    EXPECT_STREQ(log.GetLastErrorMessage(), "NO ERRORS SO FAR");
    std::vector<std::pair<int, std::string>> model;
    for (int round = 0; round < 500; round++) {
        const int code = -static_cast<int>(rng() % 4);
        const char* message = rng() % 2 ? "msg" : nullptr;
        const std::string prefix = rng() % 3 == 0 ? "at x: " : "";
        ASSERT_EQ(log.LogError(code, message, prefix.empty() ? nullptr : prefix.c_str()), code);
        if (code != 0) model.emplace_back(code, prefix + (message ? message : log.GetDefaultErrorString(code)));
        const int n = static_cast<int>(model.size()), i = n ? static_cast<int>(rng() % n) : 0;
        ASSERT_EQ(log.GetNumberOfErrors(), n);
        ASSERT_EQ(log.GetLastError(), n ? model.back().first : 0);
        ASSERT_EQ(log.GetError(-1), 0);
        ASSERT_EQ(log.GetError(n + 1), 0);
        ASSERT_EQ(log.GetErrorMessage(n + 1), nullptr);
        if (n == 0) continue;
        ASSERT_EQ(log.GetLastErrorMessage(), model.back().second);
        ASSERT_EQ(log.GetError(i), model[i].first);
        ASSERT_EQ(log.GetErrorMessage(i), model[i].second);
        if (round % 100 != 99) continue;
        log.Flush();
        EXPECT_EQ(log.GetError(0), model[0].first);  // position 0 passes the bound test
        EXPECT_EQ(log.GetErrorMessage(0), nullptr);
        EXPECT_EQ(log.GetError(1), 0);
        log.LogError(-30);
        ASSERT_GT(n, 1);
        EXPECT_EQ(log.GetError(1), model[1].first);
        model.assign(1, {-30, "ILLEGAL IDENTIFIER"});
    }
}

}  // namespace
