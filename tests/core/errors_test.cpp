// The error log: default texts, prefixes, the reading bounds (including the
// spare slot past the last entry), sinks, and the flat readers over the
// process-wide log.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "orvil/biorvil.h"
#include "orvil/errors.h"

namespace {

std::string ReadAll(FILE* f) {
    std::string text;
    rewind(f);
    int c;
    while ((c = fgetc(f)) != EOF) text += static_cast<char>(c);
    return text;
}

class RecordingSink : public QEL_errorStringRedirect {
public:
    void LogError(int code, const char* message) override { entries.emplace_back(code, message); }
    std::vector<std::pair<int, std::string>> entries;
};

TEST(Errors, DefaultTextsOfEveryCode) {
    const std::pair<int, const char*> table[] = {
        {0, "NO ERROR"}, {-1, "NO ERROR"}, {-2, "OUT OF RANGE"}, {-3, "NO ERROR"}, {-4, "NO ERROR"},
        {-5, "NO ERROR"}, {-6, "UNKNOWN ERROR CODE"}, {-11, "UNKNOWN ERROR CODE"}, {-19, "NO ERROR"},
        {-26, "UNKNOWN ERROR CODE"}, {-30, "ILLEGAL IDENTIFIER"}, {-32, "DUPLICATED IDENTIFIER"},
        {-42, "OUT OF MEMORY"}, {-43, "UNKNOWN ERROR CODE"}, {-51, "WRONG NODE TYPE"},
        {-52, "UNKNOWN ERROR CODE"}, {-99, "UNKNOWN ERROR CODE"}, {-100, "NO ERROR"}, {-101, "NO ERROR"},
        {-102, "NO ERROR"}, {-103, "FILE I/O FAILED"}, {-111, "NO MORE TOKENS"},
        {-126, "LEXICAL ERROR. CHARACTER UNKNOWN"}, {-127, "NO ERROR"}, {-128, "UNEXPECTED END OF FILE"},
        {-129, "UNKNOWN ERROR CODE"}, {-567, "NO ERROR"}, {-568, "NO ERROR"}, {1, "UNKNOWN ERROR CODE"},
        {-7, "UNKNOWN ERROR CODE"}, {-1000, "UNKNOWN ERROR CODE"},
    };
    for (const auto& row : table) {
        EXPECT_STREQ(QEL_errorStringHandler::GetDefaultErrorString(row.first), row.second) << row.first;
    }
}

// Random entries against a plain vector of (code, text) pairs.
TEST(Errors, LogKeepsEntriesInOrderOfArrival) {
    std::mt19937 rng(2);
    QEL_errorStringHandler log;
    EXPECT_EQ(log.GetLastError(), 0);
    EXPECT_STREQ(log.GetLastErrorMessage(), "NO ERRORS SO FAR");
    EXPECT_EQ(log.GetError(0), 0);
    EXPECT_EQ(log.GetErrorMessage(0), nullptr);
    std::vector<std::pair<int, std::string>> model;
    for (int round = 0; round < 500; round++) {
        int code = -static_cast<int>(rng() % 4);
        const char* message = rng() % 2 ? "msg" : nullptr;
        const char* prefix = rng() % 3 == 0 ? "at x: " : nullptr;
        ASSERT_EQ(log.LogError(code, message, prefix), code);
        if (code != 0) {
            std::string text = message ? message : QEL_errorStringHandler::GetDefaultErrorString(code);
            model.emplace_back(code, prefix ? prefix + text : text);
        }
        int n = static_cast<int>(model.size());
        ASSERT_EQ(log.GetNumberOfErrors(), n);
        if (n == 0) continue;
        ASSERT_EQ(log.GetLastError(), model.back().first);
        ASSERT_EQ(log.GetLastErrorMessage(), model.back().second);
        int i = static_cast<int>(rng() % n);
        ASSERT_EQ(log.GetError(i), model[i].first);
        ASSERT_EQ(log.GetErrorMessage(i), model[i].second);
        ASSERT_EQ(log.GetError(-1), 0);
        ASSERT_EQ(log.GetError(n + 1), 0);
        ASSERT_EQ(log.GetErrorMessage(n + 1), nullptr);
    }
}

TEST(Errors, FlushLeavesStaleCodesInTheSpareSlot) {
    QEL_errorStringHandler log;
    log.LogError(-2, "b", "a");
    log.LogError(-11);
    log.LogError(-1);
    EXPECT_STREQ(log.GetErrorMessage(0), "ab");
    EXPECT_STREQ(log.GetErrorMessage(1), "UNKNOWN ERROR CODE");
    EXPECT_STREQ(log.GetErrorMessage(2), "NO ERROR");
    EXPECT_EQ(log.LogError(0, "x"), 0);
    EXPECT_EQ(log.GetNumberOfErrors(), 3);
    log.Flush();
    EXPECT_EQ(log.GetNumberOfErrors(), 0);
    EXPECT_EQ(log.GetLastError(), 0);
    EXPECT_EQ(log.GetError(0), -2);  // position 0 passes the bound test
    EXPECT_EQ(log.GetError(1), 0);
    EXPECT_EQ(log.GetErrorMessage(0), nullptr);
    log.LogError(-30);
    EXPECT_EQ(log.GetError(1), -11);
}

TEST(Errors, SinksTakeEntriesInsteadOfTheLog) {
    QEL_errorStringHandler log;
    FILE* f = tmpfile();
    ASSERT_NE(f, nullptr);
    log.RedirectToFile(f, nullptr);
    EXPECT_EQ(log.LogError(-2, "m"), -2);
    EXPECT_EQ(log.LogError(-2, nullptr, "p:"), -2);
    EXPECT_EQ(log.GetNumberOfErrors(), 0);
    EXPECT_EQ(ReadAll(f), "-2: m\n-2: p:OUT OF RANGE\n");

    // Ending the redirection destroys the owned sink but leaves the file
    // open and in the caller's hands.
    log.Redirect(nullptr);
    log.LogError(-3, "kept");
    EXPECT_EQ(log.GetNumberOfErrors(), 1);
    EXPECT_GT(fputs("still open", f), 0);

    log.RedirectToFile(f, "[%d] %s;");
    log.LogError(-42);
    EXPECT_EQ(ReadAll(f), "-2: m\n-2: p:OUT OF RANGE\nstill open[-42] OUT OF MEMORY;");
    log.RedirectToFile(nullptr, nullptr);
    log.LogError(-4);
    EXPECT_EQ(log.GetNumberOfErrors(), 2);
    fclose(f);

    RecordingSink sink;
    log.Redirect(&sink);
    log.LogError(-5, "s");
    log.Redirect(nullptr);  // not owned: the sink outlives the log's use of it
    ASSERT_EQ(sink.entries.size(), 1u);
    EXPECT_EQ(sink.entries[0].first, -5);
    EXPECT_EQ(sink.entries[0].second, "s");
    EXPECT_EQ(log.GetNumberOfErrors(), 2);
}

TEST(Errors, FlatReadersSeeTheProcessWideLog) {
    QEL_errorStringHandler& log = QEL_errorH();
    EXPECT_EQ(&log, &QEL_errorH());
    EXPECT_NE(&log, &ErrorH);
    errorH_Flush();
    EXPECT_EQ(errorH_GetNumberOfErrors(), 0);
    EXPECT_STREQ(errorH_GetLastErrorMessage(), "NO ERRORS SO FAR");
    log.LogError(-32, nullptr, "id: ");
    log.LogError(-51);
    EXPECT_EQ(errorH_GetNumberOfErrors(), 2);
    EXPECT_EQ(errorH_GetLastError(), -51);
    EXPECT_STREQ(errorH_GetLastErrorMessage(), "WRONG NODE TYPE");
    EXPECT_EQ(errorH_GetError(0), -32);
    EXPECT_STREQ(errorH_GetErrorMessage(0), "id: DUPLICATED IDENTIFIER");
    EXPECT_EQ(errorH_GetError(3), 0);
    EXPECT_EQ(errorH_GetErrorMessage(-1), nullptr);
    errorH_Flush();
    EXPECT_EQ(errorH_GetNumberOfErrors(), 0);
    EXPECT_EQ(ErrorH.GetNumberOfErrors(), 0);
}

}  // namespace
