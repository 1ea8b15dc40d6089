// Round trips through the native format: a model saved and loaded again is
// the same model (ids, outcomes, parents in order, tables, descriptive
// records, costs, settings), and saving the loaded copy gives the same
// bytes. Checked on the asia network read from BIF and on random networks
// with random descriptive data.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "native_model.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/textutil.h"
#include "orvil/xmlload.h"
#include "orvil/xmlsave.h"
#include "random_network.h"

namespace {

// Items equal up to what 16 significant digits can hold; the reserved
// "not available" cost is written as a word and must come back exactly.
void ExpectSameNumbers(QEL_network& a, QEL_network& b) {
    const auto left = nativetest::Numbers(a);
    const auto right = nativetest::Numbers(b);
    ASSERT_EQ(left.size(), right.size());
    for (const auto& entry : left) {
        const std::vector<double>& x = entry.second;
        const std::vector<double>& y = right.at(entry.first);
        ASSERT_EQ(x.size(), y.size()) << entry.first;
        for (size_t i = 0; i < x.size(); i++) {
            EXPECT_LE(std::fabs(x[i] - y[i]), 1e-15 * std::fmax(1.0, std::fabs(x[i]))) << entry.first << " " << i;
            EXPECT_EQ(x[i] == QEL_NA_DOUBLE, y[i] == QEL_NA_DOUBLE) << entry.first << " " << i;
        }
    }
}

// Saves `net`, loads the text into a fresh network through the network's
// own entry points, checks that the copy is the same model and that its
// save is the same text. Returns the first save.
std::string ExpectRoundTrip(QEL_network& net) {
    std::string first;
    EXPECT_EQ(net.WriteString(first, nullptr), 0);
    QEL_network copy;
    EXPECT_EQ(copy.ReadString(first.c_str(), nullptr), 0) << nativetest::LastMessage();
    EXPECT_EQ(nativetest::Describe(copy), nativetest::Describe(net));
    ExpectSameNumbers(net, copy);
    std::string second;
    EXPECT_EQ(copy.WriteString(second, nullptr), 0);
    EXPECT_EQ(second, first);
    return first;
}

}  // namespace

TEST(NativeRoundTrip, AsiaFromBifThroughFilesOfBothExtensions) {
    QEL_network net;
    ASSERT_EQ(net.ReadFile(ORVIL_TEST_DATA_DIR "/asia.bif", 0, nullptr), 0);
    const std::string text = ExpectRoundTrip(net);

    for (const char* name : {"native_asia_test.xqel", "native_asia_test.QQEL"}) {
        ASSERT_EQ(net.WriteFile(name, 0, nullptr), 0);
        QEL_network fromFile;
        ASSERT_EQ(fromFile.ReadFile(name, 0, nullptr), 0) << nativetest::LastMessage();
        EXPECT_EQ(nativetest::Describe(fromFile), nativetest::Describe(net));
        std::string again;
        fromFile.WriteString(again, nullptr);
        EXPECT_EQ(again, text);
        std::remove(name);
    }
}

TEST(NativeRoundTrip, RandomDecoratedNetworks) {
    for (unsigned seed = 1; seed <= 40; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 rng(seed);
        orvil_test::RandomNetworkOptions options;
        options.nodes = std::uniform_int_distribution<int>(1, 30)(rng);
        options.maxOutcomes = 5;
        options.maxParents = 3;
        options.deterministicShare = 0.25;
        QEL_network net;
        ASSERT_FALSE(orvil_test::BuildRandomNetwork(net, seed, options).empty());
        nativetest::Decorate(net, rng);
        ExpectRoundTrip(net);
    }
}

TEST(NativeRoundTrip, EmptyNetworkAndAppendingToAString) {
    QEL_network empty;
    std::string text = "KEEP";
    ASSERT_TRUE(XmlSave(nullptr, &text, &empty, XmlNoSaveExtension()));
    EXPECT_EQ(text.rfind("KEEP<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<orvil ", 0), 0u);
    EXPECT_NE(text.find("\t<nodes>\n\t</nodes>\n</orvil>\n"), std::string::npos);
    EXPECT_EQ(text.find("<!--"), std::string::npos);
    QEL_network loaded;
    EXPECT_TRUE(XmlLoad(nullptr, text.c_str() + 4, &loaded, XmlNoLoadExtension()));
    EXPECT_EQ(loaded.GetNumberOfNodes(), 0);
    EXPECT_FALSE(XmlSave("/nonexistent-dir/x.xqel", nullptr, &empty, nullptr));
}
