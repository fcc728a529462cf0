// The stream functions of the API: making, filling, reading and deleting streams.
#include <gtest/gtest.h>

#include <string>

#include "Support/EnvFixture.h"
#include "Quorva/Handles.h"

using namespace quorva;

namespace {

class StreamApiTest : public EnvTest {};

// How a memory stream copies or borrows its bytes is tested on the engine's streams (StreamTest);
// here, that the API passes its arguments on.
TEST_F(StreamApiTest, MemoryStreamContentsAreCopiedOrReadInPlace) {
  stream_vq* s = NewMemoryStream_vq("buf.dne", env, nullptr);
  long long length = -1;
  ASSERT_NE(GetStreamContents_vq(s, &length), nullptr);
  EXPECT_EQ(length, 0);
  char text[] = "bnet A {};";
  SetStreamContents_vq(s, text, 4, true);
  text[0] = 'X';
  EXPECT_EQ(streamText(s), "bnet");
  SetStreamContents_vq(s, text, 10, false);
  EXPECT_EQ(GetStreamContents_vq(s, &length), text);
  EXPECT_EQ(length, 10);
  EXPECT_EQ(errorCount(NOTICE_ERR), 0);
}

TEST_F(StreamApiTest, ContentsCallsRefuseFileStreamsAndNegativeLengths) {
  stream_vq* file = NewFileStream_vq("never-opened.dne", env, nullptr);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(GetStreamContents_vq(file, nullptr), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5262);
  EXPECT_EQ(lastMessage(),
            "this function is only for a >-FileSpec created with >-NewMemoryStream_vq, but this "
            ">-FileSpec was created with >-NewFileStream_vq");

  stream_vq* mem = NewMemoryStream_vq(nullptr, env, nullptr);
  SetStreamContents_vq(mem, "abc", 3, true);
  SetStreamContents_vq(mem, "xyz", -2, true);
  EXPECT_EQ(lastMessage(), "argument 'length' is negative (-2)");
  long long length = 0;
  EXPECT_STREQ(GetStreamContents_vq(mem, &length), "abc");  // the refused call changed nothing
}

TEST_F(StreamApiTest, MakingStreamsChecksAccessAndFileName) {
  EXPECT_EQ(NewMemoryStream_vq("m", env, "r"), nullptr);
  EXPECT_EQ(lastMessage(), "argument 'access' should be 0 (i.e. NULL) with this version of >-Quorva");
  EXPECT_EQ(NewFileStream_vq("a.dne", env, "w"), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5260);
  EXPECT_EQ(NewFileStream_vq(nullptr, env, nullptr), nullptr);
  EXPECT_EQ(lastMessage(), "in argument 'filename', NULL was passed instead of a string");
  EXPECT_EQ(NewFileStream_vq("", env, nullptr), nullptr);
  EXPECT_EQ(lastMessage(), "in argument 'filename', the file name is empty");
}

TEST_F(StreamApiTest, ClosingTheEnvironmentFreesItsStreams) {
  stream_vq* s = NewMemoryStream_vq("m", env, nullptr);
  SetStreamContents_vq(s, "abc", 3, true);
  ASSERT_EQ(CloseQuorva_bn(env, nullptr), 0);
  env = nullptr;
  EXPECT_TRUE(asStream(s)->deleted);
  EXPECT_EQ(asStream(s)->contents(), "");
  EXPECT_EQ(GetStreamContents_vq(s, nullptr), nullptr);  // refused, not a use of freed memory
}

}  // namespace
