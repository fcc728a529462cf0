// A fixture for tests of the equation parser and evaluator: a usable environment and a set of
// variables that equations are parsed against.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Basic/EnvCore.h"
#include "Basic/Raise.h"
#include "Equation/EqnEval.h"
#include "Equation/EqnParser.h"

class EqnTest : public ::testing::Test {
 protected:
  void SetUp() override { env.state = quorva::ENV_USABLE_STATE; }

  static quorva::EqnVar discrete(const char* name, std::vector<std::string> states, int n = 0,
                                 std::vector<double> levels = {}) {
    quorva::EqnVar v;
    v.name = name;
    v.numStates = states.empty() ? n : static_cast<int>(states.size());
    v.stateNames = std::move(states);
    v.levels = std::move(levels);
    return v;
  }
  static quorva::EqnVar continuous(const char* name, std::vector<double> thresholds = {}) {
    quorva::EqnVar v;
    v.name = name;
    v.continuous = true;
    v.numStates = thresholds.empty() ? 0 : static_cast<int>(thresholds.size()) - 1;
    v.levels = std::move(thresholds);
    return v;
  }

  // The variables a head may name; `output` picks the output among the outputs below.
  quorva::EqnSource source(const std::string& text, const std::string& output = "Y") {
    quorva::EqnSource s;
    s.text = text;
    s.inputs = {discrete("A", {"red", "green", "blue"}), discrete("B", {"false", "true"}),
                discrete("C", {}, 2), discrete("N", {}, 4), discrete("L", {}, 3, {1.5, 2.5, 4}),
                continuous("a"), continuous("b"), continuous("c"), continuous("d"),
                continuous("z", {0, 1, 5, 10})};
    std::vector<quorva::EqnVar> outputs = {discrete("Y", {"amber", "red", "green"}),
                                           discrete("Flag", {"no", "yes"}),
                                           discrete("Out2", {"lo", "hi"}),
                                           discrete("Lev", {}, 3, {10, 20, 30}),
                                           continuous("X")};
    for (auto& o : outputs)
      if (o.name == output) s.output = o;
    s.constants = &constants;
    return s;
  }

  std::unique_ptr<quorva::Equation> parse(const std::string& text, const std::string& output = "Y") {
    return quorva::parseEquation(&env, source(text, output));
  }

  // The number and message of the error a parse throws (0 and "" when it throws none).
  std::pair<int, std::string> failure(const std::string& text, const std::string& output = "Y") {
    try {
      parse(text, output);
    } catch (const quorva::QuorvaError& e) {
      return {e.record ? -e.record->number : -1, e.record ? e.record->message : ""};
    }
    return {0, ""};
  }

  // The numbers of this thread's warnings, in order.
  std::vector<int> warnings() {
    std::vector<int> out;
    for (auto* r = env.errors.next(std::this_thread::get_id(), quorva::WARNING_SEV, nullptr); r;
         r = env.errors.next(std::this_thread::get_id(), quorva::WARNING_SEV, r))
      if (r->severity == quorva::WARNING_SEV) out.push_back(-r->number);
    return out;
  }
  // The last error message of this thread ("" when there is none).
  std::string lastError() {
    std::string last;
    for (auto* r = env.errors.next(std::this_thread::get_id(), quorva::ERROR_SEV, nullptr); r;
         r = env.errors.next(std::this_thread::get_id(), quorva::ERROR_SEV, r))
      last = r->message;
    return last;
  }

  quorva::EnvCore env;
  std::vector<std::unique_ptr<quorva::EqnConst>> constants;
};
