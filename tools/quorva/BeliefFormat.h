// The beliefs of a net's nodes as the tool prints them: one JSON object
//   {"net": NAME, "findings_probability": P, "nodes": [{"name": N, "states": [S...], "beliefs": [B...]}, ...]}
// (with "case": K first for a case of a case file), or a table per node for a person to read.
// Approximate beliefs add the method and what it did after the probability of the findings, and
// per node "errors": [E...] (each belief's estimated error) after its beliefs; a node with real
// values (levels, or a discretized continuous node) adds "expected": {"mean": M, "std_dev": S}.
// The JSON text is assembled from pieces serialised once by nlohmann-json, and numbers are written
// by nlohmann-json's own shortest round-trip conversion, so the output equals json::dump() of the
// same object without building one per case.
#pragma once
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "BeliefMethod.h"
#include "Quorva.h"

namespace quorva::cli {

// Appends `x` as nlohmann-json writes a double (at least as many digits as it takes to read it
// back exactly; "null" when not finite).
void appendNumber(std::string& out, double x);
// Appends `text` as a JSON string (bytes that are not UTF-8 become U+FFFD).
void appendJsonString(std::string& out, std::string_view text);

class BeliefFormat {
 public:
  // `shown`: the nodes to print, in the order to print them.
  BeliefFormat(const net_bn* net, std::vector<node_bn*> shown);

  // Reads the probability of the findings and the beliefs of the shown nodes.  False when they
  // cannot be had (impossible findings): the engine's error record is left in the environment.
  bool read(net_bn* net);
  double findingsProbability() const { return probability_; }
  // As read(), by an approximate method from the node tables (the net need not be compiled).
  bool readApprox(net_bn* net, BeliefMethod method, const MethodSettings& settings);

  // One line: the object above, "case" first when `caseNo` is 0 or more, then "\n".
  void appendJson(std::string& out, long caseNo) const;
  // One line {"case": K, "error": MESSAGE}.
  static void appendJsonError(std::string& out, long caseNo, std::string_view message);
  // The same object as appendJson(out, -1), as a json value.
  nlohmann::ordered_json toJson() const;

  // "Probability of the findings" and a table per node: each state's name, percentage and bar.
  void appendTables(std::string& out) const;

 private:
  std::vector<node_bn*> shown_;
  std::string netName_;
  std::string head_;                    // ,"net":NAME,"findings_probability":
  std::vector<std::string> nodeHeads_;  // {"name":N,"states":[S...],"beliefs":[    per shown node
  std::vector<std::string> titles_;     // per shown node: "name" or "name: title"
  std::vector<std::vector<std::string>> stateLabels_;  // per shown node and state: "name" or "name (title)"
  std::vector<const prob_bn*> beliefs_;
  double probability_ = 0;

  // Approximate beliefs and expected values (ApproxFormat.cpp).
  void readExpected();
  void appendNodeExtras(std::string& out, size_t i) const;
  void appendApproxHead(std::string& out) const;
  void addApproxJson(nlohmann::ordered_json& top) const;
  void addNodeJson(nlohmann::ordered_json& node, size_t i) const;
  std::string approxLine() const;

  std::vector<int> offsets_;        // per shown node: its first entry in the net's approximate beliefs
  std::vector<int> valued_;         // per shown node: 1 when it has real values
  std::vector<double> means_, sds_;  // per shown node with real values
  BeliefMethod method_ = BeliefMethod::Exact;
  std::vector<std::vector<float>> approxBeliefs_;  // per shown node, when approximate
  std::vector<std::vector<double>> errors_;        // per shown node, when approximate
  approx_summary_bn summary_{};
};

}  // namespace quorva::cli
