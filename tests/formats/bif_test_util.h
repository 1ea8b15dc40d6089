// Helpers shared by the BIF tests: test data, the reference posteriors that
// come with some of the networks, and a corpus of damaged texts.
#ifndef ORVIL_TESTS_FORMATS_BIF_TEST_UTIL_H
#define ORVIL_TESTS_FORMATS_BIF_TEST_UTIL_H

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

// A damaged BIF text with the status and line its reading must report, and
// a part of the message where the message has to say more than the line.
struct DamagedText {
    const char* what;
    std::string text;
    int code;
    int line;
    const char* saying = "";
};
std::vector<DamagedText> DamagedTexts();

}  // namespace bif_test

#endif
