// A fixture for tests of streams and the token reader: a usable engine environment, memory streams
// over given text, and the records that reads leave.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "Basic/EnvCore.h"
#include "Basic/Stream.h"
#include "Basic/Raise.h"
#include "Basic/TokenReader.h"

class ReaderTest : public ::testing::Test {
 protected:
  void SetUp() override { env.state = quorva::ENV_USABLE_STATE; }

  // A reader over `text` in a memory stream named "t.dne".
  quorva::TokenReader& reader(std::string_view text, quorva::Syntax syntax = {},
                              size_t block = quorva::TokenReader::DEFAULT_BLOCK) {
    rd.reset();
    stream = std::make_unique<quorva::FileSpec>(&env, quorva::FileSpec::Kind::Memory, "t.dne");
    stream->setContents(text.data(), text.size(), true);
    rd = std::make_unique<quorva::TokenReader>(*stream, syntax, block);
    return *rd;
  }

  // The message of the error that `f` throws ("" and a test failure when it throws none).
  template <class F>
  std::string failure(F f) {
    try {
      f();
    } catch (const quorva::QuorvaError& e) {
      return e.record ? e.record->message : "<no record>";
    }
    ADD_FAILURE() << "no error was raised";
    return "";
  }

  // The messages of this thread's records of exactly severity `sev`, in order, joined by '|'.
  std::string records(int sev) {
    std::string all;
    for (auto* r = env.errors.next(std::this_thread::get_id(), sev, nullptr); r;
         r = env.errors.next(std::this_thread::get_id(), sev, r))
      if (r->severity == sev) all += (all.empty() ? "" : "|") + r->message;
    return all;
  }

  quorva::EnvCore env;
  std::unique_ptr<quorva::FileSpec> stream;
  std::unique_ptr<quorva::TokenReader> rd;
};
