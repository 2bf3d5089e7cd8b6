// The callbacks at the end of the road: the map and its walk.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "log_test_support.h"

namespace {

// Who was called, in order, across all callbacks of a test.
std::vector<std::string> g_calls;

template <char kName>
void Call(void*, int, const char*, int, const char* text, int textLen) {
    g_calls.push_back(kName + (":" + std::string(text, static_cast<size_t>(textLen))));
}

class Callbacks : public LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        g_calls.clear();
    }
    void TearDown() override {
        for (char& key : keys_) QDLogRemoveCallback(&key);
        QDLogRemoveCallback(nullptr);
        LogTest::TearDown();
    }
    char keys_[3] = {};  // user data in a known address order
};

// One entry per user data, the first staying; every line walks them in the order
// of their user data.
TEST_F(Callbacks, OneCallbackPerUserDataCalledInItsOrder) {
    EXPECT_EQ(1, QDLogAddCallback(Call<'g'>, &keys_[2]));
    EXPECT_EQ(1, QDLogAddCallback(Call<'f'>, &keys_[0]));
    EXPECT_EQ(0, QDLogAddCallback(Call<'f'>, &keys_[0]));
    EXPECT_EQ(0, QDLogAddCallback(Call<'g'>, &keys_[0]));
    EXPECT_EQ(1, QDLogAddCallback(Call<'g'>, nullptr));  // null is user data like any other
    QDLogEvent(0, "1\n2");
    EXPECT_EQ((std::vector<std::string>{"g:1", "f:1", "g:1", "g:2", "f:2", "g:2"}), g_calls);

    EXPECT_EQ(1, QDLogRemoveCallback(&keys_[0]));
    EXPECT_EQ(0, QDLogRemoveCallback(&keys_[0]));
    EXPECT_EQ(1, QDLogRemoveCallback(nullptr));
    EXPECT_EQ(1, QDLogRemoveCallback(&keys_[2]));
    g_calls.clear();
    QDLogEvent(0, "y");
    EXPECT_TRUE(g_calls.empty());
}

// Logs from inside itself, once per outer line: the lock is recursive and the
// nested event comes out between two lines of the outer one.
void Nesting(void*, int, const char*, int, const char* text, int textLen) {
    const std::string line(text, static_cast<size_t>(textLen));
    g_calls.push_back(line);
    if (line != "inner") QDLogEvent(0, "inner");
}

TEST_F(Callbacks, MayLogFromInsideThemselves) {
    QDLogAddCallback(Nesting, &keys_[0]);
    QDLogEvent(0, "1\n2");
    EXPECT_EQ((std::vector<std::string>{"1", "inner", "2", "inner"}), g_calls);
}

// Removes itself and its neighbour, and adds a third entry, in the middle of a walk.
void Rearranging(void* userData, int, const char*, int, const char*, int) {
    char* keys = static_cast<char*>(userData);
    g_calls.push_back("rearranging");
    QDLogRemoveCallback(&keys[0]);
    QDLogRemoveCallback(&keys[1]);
    QDLogAddCallback(Call<'g'>, &keys[2]);
}

TEST_F(Callbacks, MayRemoveAndAddEntriesDuringTheWalk) {
    QDLogAddCallback(Rearranging, &keys_[0]);
    QDLogAddCallback(Call<'f'>, &keys_[1]);
    QDLogEvent(0, "a\nb");
    // The removed neighbour is not reached; the new entry above is, from this line on.
    EXPECT_EQ((std::vector<std::string>{"rearranging", "g:a", "g:b"}), g_calls);
}

}  // namespace
