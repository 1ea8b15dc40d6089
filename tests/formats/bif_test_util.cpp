// Test data and damaged texts for the BIF tests. The reference files are
// read with the small JSON reader the benchmarks use.
#include "bif_test_util.h"

#include "../../bench/json_lite.h"
#include "formats/bif_parser.h"
#include "formats/bif_resolve.h"

#include <fstream>
#include <sstream>

namespace bif_test {

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

std::string ReadDataFile(const std::string& name)
{
    return ReadFile(std::string(ORVIL_TEST_DATA_DIR) + "/" + name);
}

int ReadModel(const std::string& text, BifModel& model, BifError& error)
{
    BifDocument doc;
    int rc = BifParse(text.data(), text.size(), doc, error);
    return rc == 0 ? BifResolve(doc, model, error) : rc;
}

std::vector<ReferenceCase> LoadReferenceCases(const std::string& network)
{
    using json_lite::JsonValue;
    std::map<std::string, ReferenceCase> byId;
    JsonValue cases;
    std::string error;
    if (!json_lite::ParseJson(ReadDataFile(network + ".cases.json"), cases, error) || !cases.Find("cases"))
        return {};
    for (const JsonValue& item : cases.Find("cases")->items) {
        ReferenceCase& entry = byId[item.Find("id")->text];
        entry.id = item.Find("id")->text;
        for (const auto& member : item.Find("evidence")->members)
            entry.evidence[member.first] = member.second.text;
    }
    std::vector<ReferenceCase> result;
    std::istringstream lines(ReadDataFile(network + ".ref.jsonl"));
    std::string line;
    while (std::getline(lines, line)) {
        JsonValue reference;
        if (!json_lite::ParseJson(line, reference, error))
            continue;
        auto found = byId.find(reference.Find("id")->text);
        if (found == byId.end())
            continue;
        for (const auto& member : reference.Find("posteriors")->members)
            for (const JsonValue& p : member.second.items)
                found->second.posteriors[member.first].push_back(p.number);
        found->second.logProbEvidence = reference.Find("log_pe")->number;
        result.push_back(found->second);
    }
    return result;
}

// Each text is a small valid network with one fault; the fault's line is
// what the message must name.
std::vector<DamagedText> DamagedTexts()
{
    const std::string head =
        "network n {\n"                                   // 1
        "}\n"                                             // 2
        "variable a {\n"                                  // 3
        "  type discrete [ 2 ] { yes, no };\n"            // 4
        "}\n"                                             // 5
        "variable b {\n"                                  // 6
        "  type discrete [ 3 ] { <5, 5-12, 12+ };\n"      // 7
        "}\n"                                             // 8
        "probability ( a ) {\n"                           // 9
        "  table 0.25, 0.75;\n"                           // 10
        "}\n";                                            // 11
    const std::string b = "probability ( b | a ) {\n"     // 12
                          "  (yes) 0.2, 0.3, 0.5;\n"      // 13
                          "  (no) 0.1, 0.1, 0.8;\n"       // 14
                          "}\n";                          // 15
    const std::string full = head + b;
    return {
        {"empty file", "", -128, 1},
        {"only a comment", "// nothing here\n", -128, 2},
        {"truncated inside a row", full.substr(0, full.find("0.1, 0.8")), -128, 14},
        {"truncated after a block", head, -129, 6},
        {"control character", head + "probability ( b | a ) {\n  (yes) 0.2,\x01 0.3, 0.5;\n", -126, 13},
        {"unclosed comment", head + "/* left open\n" + b, -128, 12},
        {"unclosed quote", head + "probability ( \"b | a ) {\n", -128, 12},
        {"bad number", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3x, 0.5;\n  (no) 0.1, 0.1, 0.8;\n}\n", -127, 13},
        {"probability above one", head + "probability ( b | a ) {\n  (yes) 0.2, 1.3, 0.5;\n  (no) 0.1, 0.1, 0.8;\n}\n", -129, 13},
        {"missing semicolon", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5\n  (no) 0.1, 0.1, 0.8;\n}\n", -127, 14},
        {"unknown keyword", head + "probabilty ( b | a ) {\n", -127, 12},
        {"continuous variable", "variable c {\n  type continuous;\n}\n", -129, 2},
        {"unknown variable", head + "probability ( c | a ) {\n  (yes) 0.2, 0.8;\n}\n", -129, 12},
        {"unknown parent", head + "probability ( b | c ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12},
        {"unknown state", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (maybe) 0.1, 0.1, 0.8;\n}\n", -129, 14,
         "'maybe' is no state of 'a'"},
        {"too few values", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (no) 0.1, 0.9;\n}\n", -129, 14},
        {"too many table values", head + "probability ( b | a ) {\n  table 0.2, 0.3, 0.5, 0.1, 0.1, 0.8, 0.0;\n}\n", -129, 13},
        {"missing configuration", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12,
         "1 of 2 parent configurations, the first being (no)"},
        {"repeated configuration", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (yes) 0.1, 0.1, 0.8;\n}\n", -129, 14},
        {"duplicate variable", head + "variable a {\n  type discrete [ 2 ] { x, y };\n}\n" + b, -32, 12},
        {"duplicate state", "variable a {\n  type discrete [ 2 ] { x, x };\n}\n", -32, 2},
        {"state count mismatch", "variable a {\n  type discrete [ 3 ] { x, y };\n}\n", -129, 2},
        {"single state", "variable a {\n  type discrete [ 1 ] { x };\n}\n", -19, 2},
        {"no type", "variable a {\n}\n", -129, 1},
        {"missing probability block", head + "variable c {\n  type discrete [ 2 ] { x, y };\n}\n" + b, -129, 12},
        {"second probability block", full + "probability ( a ) {\n  table 0.5, 0.5;\n}\n", -129, 16},
        {"own parent", head + "probability ( b | b ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12},
        {"parent twice", head + "probability ( b | a, a ) {\n  (yes, yes) 0.2, 0.3, 0.5;\n}\n", -129, 12},
        {"cycle", "variable a {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "variable b {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "variable c {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "probability ( a | c ) {\n  default 0.5, 0.5;\n}\n"
                  "probability ( b | a ) {\n  default 0.5, 0.5;\n}\n"
                  "probability ( c | b ) {\n  default 0.5, 0.5;\n}\n", -11, 10, "'a' -> 'b' -> 'c' -> 'a'"},
    };
}

}  // namespace bif_test
