// Posteriors computed by enumeration over tables read from BIF, against the
// posteriors an independent engine computed for the same files and cases.
// Agreement shows that every table landed in the engine's layout, parents
// in order and the child's states fastest, in both the row form and the
// compact table form.
#include "bif_test_util.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

void CheckAgainstReference(const std::string& file, const std::string& reference)
{
    BifModel model;
    BifError error;
    ASSERT_EQ(bif_test::ReadModel(bif_test::ReadDataFile(file), model, error), 0) << file << ": " << error.message;
    std::vector<bif_test::ReferenceCase> cases = bif_test::LoadReferenceCases(reference);
    ASSERT_GE(cases.size(), 6u) << reference;
    for (const bif_test::ReferenceCase& c : cases) {
        orvil_test::BruteResult result = orvil_test::BruteForce(bif_test::BruteModelOf(model, c.evidence));
        ASSERT_TRUE(result.ok) << c.id;
        EXPECT_NEAR(std::log(result.probEvidence), c.logProbEvidence, 1e-8) << c.id;
        for (size_t i = 0; i < model.nodes.size(); ++i) {
            auto expected = c.posteriors.find(model.nodes[i].name);
            ASSERT_NE(expected, c.posteriors.end()) << c.id << " " << model.nodes[i].name;
            ASSERT_EQ(result.posteriors[i].size(), expected->second.size()) << c.id;
            for (size_t s = 0; s < expected->second.size(); ++s)
                EXPECT_NEAR(result.posteriors[i][s], expected->second[s], 1e-8)
                    << file << " " << c.id << " " << model.nodes[i].name << " state " << s;
        }
    }
}

TEST(BifPosteriors, MatchTheReferenceEngine)
{
    CheckAgainstReference("cancer.bif", "cancer");
    CheckAgainstReference("cancer_table.bif", "cancer");
    CheckAgainstReference("asia.bif", "asia");
    CheckAgainstReference("earthquake.bif", "earthquake");
    CheckAgainstReference("sachs.bif", "sachs");
}

}  // namespace
