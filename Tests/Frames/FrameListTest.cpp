#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "FrameList.h"

using fxhost::FrameList;

TEST(FrameList, ReadsRangesStepsAndListsAscendingAndWritesThemBack) {
    struct Case {
        std::string text;
        std::vector<int> frames;
        std::string canonical;
    } cases[] = {
        {"7", {7}, "7"},
        {"1001-1004", {1001, 1002, 1003, 1004}, "1001-1004"},
        {"1-10x3", {1, 4, 7, 10}, "1-10x3"},
        {"1-11x5", {1, 6, 11}, "1-11x5"},
        {"1-12x5", {1, 6, 11}, "1-11x5"},
        {"30-32,20,1-3", {1, 2, 3, 20, 30, 31, 32}, "1-3,20,30-32"},
        {"5,6", {5, 6}, "5,6"},
        {"0-4x2,5", {0, 2, 4, 5}, "0-4x2,5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const FrameList list = FrameList::parse(c.text);
        EXPECT_EQ(list.frames(), c.frames);
        EXPECT_EQ(list.text(), c.canonical);
        EXPECT_EQ(FrameList::parse(list.text()).frames(), c.frames);
    }
}

TEST(FrameList, RefusesBadTextNamingIt) {
    struct Case {
        std::string text;
        std::string message;
    } cases[] = {
        {"", "\"\" is not FRAME, FIRST-LAST or FIRST-LASTxSTEP"},
        {"1-", "\"1-\" is not FRAME"},
        {"1-5,,7", "\"\" is not FRAME"},
        {"-3", "\"-3\" is not FRAME"},
        {"1-10x", "\"1-10x\" is not FRAME"},
        {"1 - 4", "\"1 - 4\" is not FRAME"},
        {"1234567890", "\"1234567890\" is not FRAME"},
        {"9-2", "\"9-2\" ends before it starts"},
        {"1-10x0", "\"1-10x0\" has a step of 0"},
        {"1-10,5", "frame 5 is listed twice in \"1-10,5\""},
        {"0-999999999", "holds more than 1000000 frames"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        try {
            FrameList::parse(c.text);
            ADD_FAILURE() << "accepted";
        } catch (const std::invalid_argument& e) {
            EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
        }
    }
}

TEST(FrameList, ChunksAreConsecutiveSlicesInOrder) {
    const std::vector<FrameList> chunks = FrameList::parse("1-10x2,11-14").chunks(3);
    std::vector<std::string> texts;
    for (const FrameList& chunk : chunks) texts.push_back(chunk.text());
    EXPECT_EQ(texts, (std::vector<std::string>{"1-5x2", "7-11x2", "12-14"}));
    EXPECT_THROW(FrameList::parse("1-3").chunks(0), std::invalid_argument);
}
