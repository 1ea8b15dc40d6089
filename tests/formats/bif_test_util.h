// Helpers shared by the BIF tests: test data, the reference posteriors that
// come with some of the networks, and the bridge from a parsed BIF model to
// the enumeration oracle.
#ifndef ORVIL_TESTS_FORMATS_BIF_TEST_UTIL_H
#define ORVIL_TESTS_FORMATS_BIF_TEST_UTIL_H

#include "brute_force.h"
#include "formats/bif_document.h"
#include "formats/bif_model.h"

#include <map>
#include <string>
#include <vector>

namespace bif_test {

// The whole content of tests/data/`name`; empty when it cannot be read.
std::string ReadDataFile(const std::string& name);
std::string ReadFile(const std::string& path);

// Parses and resolves `text`; returns the status and fills `model`/`error`.
int ReadModel(const std::string& text, BifModel& model, BifError& error);

// One evidence case of NAME.cases.json joined with its line of
// NAME.ref.jsonl: states by name, posteriors in the order of the BIF file.
struct ReferenceCase {
    std::string id;
    std::map<std::string, std::string> evidence;
    std::map<std::string, std::vector<double>> posteriors;
    double logProbEvidence = 0.0;
};
std::vector<ReferenceCase> LoadReferenceCases(const std::string& network);

// The enumeration model of `model` with the case's evidence set by name.
orvil_test::BruteModel BruteModelOf(const BifModel& model, const std::map<std::string, std::string>& evidence);

// A damaged BIF text with the status and line its reading must report.
struct DamagedText {
    const char* what;
    std::string text;
    int code;
    int line;
};
std::vector<DamagedText> DamagedTexts();

}  // namespace bif_test

#endif
