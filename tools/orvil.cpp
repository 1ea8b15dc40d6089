// `orvil`: the command-line face of the engine. It reports the size of a
// model and of its join tree, computes posteriors under evidence, and
// converts models between file formats.
//
// main only routes: parse, run one command, print its text to stdout or its
// one-line reason to stderr. Exit status 0 on success, 1 when the command
// failed, 2 when the command line itself is wrong (usage shown by "orvil"
// alone also exits 2, since nothing was done).
#include "cli_options.h"
#include "commands.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

const int kFailed = 1;
const int kBadUsage = 2;

int Fail(int status, const std::string& reason)
{
    std::fprintf(stderr, "orvil: %s\n", reason.c_str());
    return status;
}

bool Run(const orvil_tool::CommandLine& line, std::string& out, std::string& error)
{
    switch (line.command) {
    case orvil_tool::Command::kInfo:
        return orvil_tool::RunInfo(line, out, error);
    case orvil_tool::Command::kInfer:
        return orvil_tool::RunInfer(line, out, error);
    case orvil_tool::Command::kConvert:
        return orvil_tool::RunConvert(line, out, error);
    default:
        out = orvil_tool::UsageText();
        return true;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    orvil_tool::CommandLine line;
    std::string error;
    if (!orvil_tool::ParseCommandLine(words, line, error))
        return Fail(kBadUsage, error + " (see orvil --help)");
    std::string out;
    if (!Run(line, out, error))
        return Fail(kFailed, error);
    std::fputs(out.c_str(), stdout);
    return words.empty() ? kBadUsage : 0;
}
