// List elements: their text arrives as whitespace-separated items while
// the document is read, however the input is cut into blocks, and the last
// item comes before the element's end handler.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "orvil/xmlreader.h"
#include "xml_test_support.h"

using xmltest::EventLog;
using xmltest::PieceStream;
using xmltest::RecordingErrors;
using xmltest::Tree;

namespace {

struct ListDoc {
    Tree tree;
    XmlBinding* root;
    XmlBinding* list;
    ListDoc() {
        root = tree.Add("r", 0);
        list = tree.Add("v", 0, true);
        root->AddChild(list, qel_xmlMultiple);
    }
};

const char* const separators[] = {" ", "\t", "\n", "  ", "\r\n", " \n\t "};

// A random token as written in the document and as it must arrive: with
// entities, Latin-1 letters and characters beyond Latin-1.
std::pair<std::string, std::string> RandomToken(std::mt19937& rng) {
    static const std::string plain = "abcxyz0123456789.-+eE_";
    const char* written[] = {"&amp;", "\xC3\xA9", "\xE2\x82\xAC"};
    const char* arrives[] = {"&", "\xE9", "?"};
    std::pair<std::string, std::string> token;
    for (int i = 1 + static_cast<int>(rng() % 12); i > 0; --i) {
        unsigned pick = rng() % 10;
        if (pick < 3) {
            token.first += written[pick];
            token.second += arrives[pick];
        } else {
            token.first += plain[rng() % plain.size()];
            token.second += token.first.back();
        }
    }
    return token;
}

}  // namespace

// Random lists, whitespace and block sizes: the items that arrive are
// exactly the tokens written, and the end handler follows them.
TEST(XmlLists, ItemsArriveWholeWhateverTheBlocks) {
    std::mt19937 rng(11);
    for (int round = 0; round < 300; ++round) {
        std::string text = "<r>";
        EventLog expected = {"start r"};
        for (int l = 1 + static_cast<int>(rng() % 3); l > 0; --l) {
            text += "<v>";
            expected.push_back("start v");
            if (rng() % 2) text += separators[rng() % 6];
            int count = static_cast<int>(rng() % 40);
            for (int i = 0; i < count; ++i) {
                auto token = RandomToken(rng);
                if (i > 0) text += separators[rng() % 6];
                text += token.first;
                expected.push_back("item v " + token.second);
            }
            if (rng() % 2) text += separators[rng() % 6];
            text += "</v>";
            expected.push_back("end v ");
        }
        text += "</r>";
        expected.push_back("end r ");
        std::vector<int> sizes;
        for (int i = 0; i < 8; ++i) sizes.push_back(1 + static_cast<int>(rng() % (i % 2 ? 5 : 300)));
        ListDoc doc;
        RecordingErrors errors;
        XmlReader reader;
        PieceStream stream(text, sizes);
        ASSERT_TRUE(reader.ParseStream(&stream, doc.root, &errors)) << text;
        EXPECT_TRUE(errors.problems.empty());
        ASSERT_EQ(doc.tree.log, expected) << text;
    }
}

// The reader's own 4096-byte blocks: a token is placed so that each of its
// bytes in turn is the last of the first block.
TEST(XmlLists, TokenAcrossTheBlockBoundaryArrivesOnce) {
    const std::string token = "0.123456789";
    for (size_t cut = 0; cut <= token.size(); ++cut) {
        const std::string head = "<r><v>";
        const size_t room = 4096 - cut - head.size();
        std::string filler;
        while (filler.size() + 2 <= room) filler += "1 ";
        filler.resize(room, ' ');
        ListDoc doc;
        int ones = 0;
        std::vector<std::string> others;
        doc.tree.HandlerOf(doc.list).onItem = [&](IXmlReader* r) {
            std::string item = r->GetContent();
            if (item == "1")
                ++ones;
            else
                others.push_back(item);
        };
        RecordingErrors errors;
        XmlReader reader;
        ASSERT_TRUE(reader.ParseString((head + filler + token + " 2</v></r>").c_str(), doc.root, &errors));
        std::vector<std::string> expected = {token, "2"};
        EXPECT_EQ(others, expected) << cut;
        EXPECT_EQ(ones, static_cast<int>(std::count(filler.begin(), filler.end(), '1')));
    }
}

// A stop in an item ends the list and the document.
TEST(XmlLists, AStopInAnItemEndsTheDocument) {
    ListDoc stopped;
    stopped.tree.HandlerOf(stopped.list).onItem = [](IXmlReader* r) {
        if (std::string(r->GetContent()) == "bad") r->StopParse("Can't read list of doubles, failed at element 3");
    };
    RecordingErrors errors;
    XmlReader reader;
    EXPECT_FALSE(reader.ParseString("<r>\n<v>1 2 bad 4 5</v><v>6</v></r>", stopped.root, &errors));
    ASSERT_EQ(errors.problems.size(), 1u);
    EXPECT_EQ(errors.problems[0].line, 2);
    EventLog expected = {"start r", "start v", "item v 1", "item v 2", "item v bad"};
    EXPECT_EQ(stopped.tree.log, expected);
}
