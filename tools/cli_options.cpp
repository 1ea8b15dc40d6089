// Command-line parsing for the `orvil` tool.
//
// The list options (--evidence, --virtual, --target) take one value and
// then keep taking the words that follow while they fit: a word with "="
// for evidence, any plain word for targets once the model has been named.
// So "--evidence a=x b=y" and "--evidence a=x --evidence b=y" mean the
// same, and "--target t MODEL" still finds the model.
#include "cli_options.h"

#include <cmath>
#include <cstdlib>

namespace orvil_tool {

namespace {

struct AlgorithmName {
    const char* name;
    int number;
};

// Engine numbers of the update driver; several engines answer to more than
// one name.
const AlgorithmName kAlgorithms[] = {
    {"clustering", 0},       {"jointree", 0},         {"logic", 1},       {"henrion", 1},
    {"polytree", 2},         {"pearl", 2},            {"lw", 3},          {"likelihood", 3},
    {"selfimportance", 4},   {"backward", 6},         {"ais", 7},         {"epis", 8},
    {"lbp", 9},              {"loopy", 9},            {"oldclustering", 10},
    {"lineardecomp", 11},    {"recursivedecomp", 12},
};

bool IsOption(const std::string& word)
{
    return word.size() > 1 && word[0] == '-';
}

bool SplitPair(const std::string& text, std::string& left, std::string& right)
{
    size_t eq = text.find('=');
    if (eq == std::string::npos || eq == 0 || eq + 1 == text.size())
        return false;
    left = text.substr(0, eq);
    right = text.substr(eq + 1);
    return true;
}

bool ParseWeights(const std::string& text, std::vector<double>& weights)
{
    size_t start = 0;
    bool anyPositive = false;
    for (;;) {
        size_t comma = text.find(',', start);
        std::string item = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        char* end = nullptr;
        double w = std::strtod(item.c_str(), &end);
        if (item.empty() || *end != 0 || !std::isfinite(w) || w < 0.0)
            return false;
        anyPositive = anyPositive || w > 0.0;
        weights.push_back(w);
        if (comma == std::string::npos)
            break;
        start = comma + 1;
    }
    return anyPositive;
}

// Walks the words of one command, option by option.
class Parser {
public:
    Parser(const std::vector<std::string>& w, CommandLine& o, std::string& e) : words(w), out(o), error(e) {}

    bool Run(size_t first)
    {
        for (at = first; at < words.size();) {
            const std::string& word = words[at++];
            if (!IsOption(word)) {
                out.files.push_back(word);
                continue;
            }
            if (!Option(word))
                return false;
        }
        return CheckFiles();
    }

private:
    bool Fail(const std::string& message)
    {
        error = message;
        return false;
    }

    bool Option(const std::string& word)
    {
        size_t eq = word.find('=');
        std::string name = word.substr(0, eq);
        bool inlineValue = eq != std::string::npos;
        if (name == "--json" && !inlineValue && out.command == Command::kInfer) {
            out.json = true;
            return true;
        }
        bool takesValue = name == "--evidence" || name == "-e" || name == "--virtual" || name == "--target" ||
                          name == "-t" || name == "--algorithm" || name == "-a";
        if (!takesValue || out.command != Command::kInfer)
            return Fail("unknown option " + word);
        if (inlineValue) {
            value = word.substr(eq + 1);
        } else if (at < words.size() && !IsOption(words[at])) {
            value = words[at++];
        } else {
            return Fail("option " + name + " needs a value");
        }
        if (name == "--evidence" || name == "-e")
            return Evidence();
        if (name == "--virtual")
            return Virtual();
        if (name == "--target" || name == "-t")
            return Targets();
        return Algorithm();
    }

    // True when the next word continues a list: a plain word that holds "="
    // (evidence) or any plain word once the model is known (targets).
    bool MoreValues(bool needsEquals)
    {
        if (at >= words.size() || IsOption(words[at]))
            return false;
        if (needsEquals ? words[at].find('=') == std::string::npos : out.files.empty())
            return false;
        value = words[at++];
        return true;
    }

    bool Evidence()
    {
        do {
            std::string node, state;
            if (!SplitPair(value, node, state))
                return Fail("evidence must read NODE=STATE, not '" + value + "'");
            out.evidence.emplace_back(node, state);
        } while (MoreValues(true));
        return true;
    }

    bool Virtual()
    {
        do {
            VirtualEvidence v;
            std::string weights;
            if (!SplitPair(value, v.node, weights) || !ParseWeights(weights, v.weights))
                return Fail("virtual evidence must read NODE=w1,w2,... with weights >= 0, not all 0, not '" + value + "'");
            out.likelihoods.push_back(v);
        } while (MoreValues(true));
        return true;
    }

    bool Targets()
    {
        do {
            out.targets.push_back(value);
        } while (MoreValues(false));
        return true;
    }

    bool Algorithm()
    {
        out.algorithm = AlgorithmNumber(value);
        if (out.algorithm < 0)
            return Fail("unknown algorithm '" + value + "'");
        return true;
    }

    bool CheckFiles()
    {
        size_t wanted = out.command == Command::kConvert ? 2 : 1;
        if (out.files.size() < wanted)
            return Fail(out.command == Command::kConvert ? "convert needs IN and OUT" : "missing MODEL");
        if (out.files.size() > wanted)
            return Fail("unexpected argument '" + out.files[wanted] + "'");
        return true;
    }

    const std::vector<std::string>& words;
    CommandLine& out;
    std::string& error;
    size_t at = 0;
    std::string value;
};

bool AskedForHelp(const std::vector<std::string>& words)
{
    if (words.empty() || words[0] == "help")
        return true;
    for (const std::string& word : words)
        if (word == "--help" || word == "-h")
            return true;
    return false;
}

}  // namespace

int AlgorithmNumber(const std::string& text)
{
    for (const AlgorithmName& a : kAlgorithms)
        if (text == a.name)
            return a.number;
    char* end = nullptr;
    long number = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != 0 || number < 0 || number > 12)
        return -1;
    return static_cast<int>(number);
}

bool ParseCommandLine(const std::vector<std::string>& words, CommandLine& out, std::string& error)
{
    out = CommandLine();
    if (AskedForHelp(words)) {
        out.command = Command::kHelp;
        return true;
    }
    const std::string& command = words[0];
    if (command == "info")
        out.command = Command::kInfo;
    else if (command == "infer")
        out.command = Command::kInfer;
    else if (command == "convert")
        out.command = Command::kConvert;
    else {
        error = "unknown command '" + command + "'";
        return false;
    }
    return Parser(words, out, error).Run(1);
}

const char* UsageText()
{
    return "usage: orvil COMMAND [ARGS]\n"
           "\n"
           "commands:\n"
           "  info MODEL             size of the model and of its join tree\n"
           "  infer MODEL [OPTIONS]  posterior probabilities\n"
           "  convert IN OUT         rewrite a model in the format of OUT's extension\n"
           "\n"
           "infer options:\n"
           "  -e, --evidence NODE=STATE ...   observe a state (repeatable)\n"
           "  --virtual NODE=w1,w2,...        likelihood of each state of NODE\n"
           "  -t, --target NODE ...           report only these nodes (default: all)\n"
           "  -a, --algorithm NAME|NUMBER     engine: clustering (jointree, 0), logic (1),\n"
           "                                  polytree (2), lw (3), selfimportance (4),\n"
           "                                  backward (6), ais (7), epis (8), lbp (9),\n"
           "                                  oldclustering (10), lineardecomp (11),\n"
           "                                  recursivedecomp (12)\n"
           "  --json                          JSON output, with the probability of evidence\n"
           "\n"
           "Nodes and states are named by identifier or by their original name in the\n"
           "file. Model formats are chosen by file extension.\n";
}

}  // namespace orvil_tool
