// A net written as DNET and read back is the net it was: every node kind, node type and table
// kind the API accepts, input names, state titles, and findings of each form.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "Support/NetSnapshot.h"

namespace {

const state_bn NO_PARENTS[1] = {0};  // the parent states of a node without parents

class DnetRoundTripTest : public EnvTest {
 protected:
  // A node's tables and finding, as text that shows each float exactly ("-" for a table the
  // node lacks).
  std::string contents(const node_bn* node) {
    std::string out;
    for (const char* which : {"cpt", "exper", "function_state", "function_real"}) {
      int size = 0;
      const double* table = GetNodeTable_bn(node, which, nullptr, 0, nullptr, &size);
      out += std::string(" ") + which + "=";
      if (!table) {
        out += "-";
        continue;
      }
      for (int i = 0; i < size; ++i) out += (i ? "," : "") + exact(table[i]);
    }
    ClearErrors_vq(env, ERROR_ERR);  // the tables a node lacks
    out += " finding=" + std::to_string(GetNodeFinding_bn(node));
    out += " value=" + exact(GetNodeValueEntered_bn(node));
    if (const prob_bn* lik = GetNodeLikelihood_bn(node))
      for (int s = 0; s < GetNodeNumberStates_bn(node); ++s) out += " " + exact(lik[s]);
    return out + " title=" + GetNodeTitle_bn(node) + " equation=" + GetNodeEquation_bn(node);
  }

  // The whole net: its structure (names, kinds, types, states with titles, levels, parents with
  // input names) and every node's contents.
  std::string picture(const net_bn* net) {
    std::string out = snapshot(net);
    const nodelist_bn* nodes = GetNetNodes_bn(net);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
      node_bn* n = GetNthNode_bn(nodes, i);
      out += std::string(GetNodeName_bn(n)) + contents(n) + "\n";
    }
    return out;
  }

  static std::string exact(double v) {
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.17g", v);
    return buf;
  }
};

// One node of every kind, type and table kind, each with the findings it can carry.
TEST_F(DnetRoundTripTest, EveryNodeKindTypeTableAndFindingReadsBackAsWritten) {
  net_bn* net = NewNet_bn("Decide", env);
  // Nature, discrete: a CPT, experience that differs by row, state titles, a state finding.
  node_bn* weather = addNode(net, "Weather", 2, "sun,rain", {}, {0.7, 0.3});
  SetNodeStateTitle_bn(weather, 0, "Sunny, dry");
  SetNodeExperience_bn(weather, NO_PARENTS, 12.5);
  // Nature, discrete, unnamed states: a CPT over a parent and a likelihood finding.
  node_bn* forecast = addNode(net, "Forecast", 3, nullptr, {weather}, {0.6, 0.3, 0.1, 0.1, 0.3, 0.6});
  state_bn sun = 0, rain = 1;
  SetNodeExperience_bn(forecast, &sun, 4);
  SetNodeExperience_bn(forecast, &rain, 9);
  const prob_bn likelihood[] = {0.25f, 1, 0.5f};
  EnterNodeLikelihood_bn(forecast, likelihood);
  // Nature, discretized continuous: levels, a CPT, a real-valued finding.
  node_bn* rainfall = addNode(net, "Rainfall", 0, nullptr, {weather});
  const level_bn bounds[] = {0, 2.5, 10, 100};
  SetNodeLevels_bn(rainfall, 3, bounds);  // 3 states between 4 bounds
  setCpt(rainfall, {0.8, 0.15, 0.05, 0.1, 0.5, 0.4});
  EnterNodeValue_bn(rainfall, 7.25);
  // Nature, continuous: no table, a real-valued finding.
  node_bn* temperature = addNode(net, "Temperature", 0);
  EnterNodeValue_bn(temperature, -3.5);
  // Decision, discrete: a function table of states over a parent, with an input name.
  node_bn* umbrella = addNode(net, "Umbrella", 2, "take,leave", {forecast});
  SetNodeKind_bn(umbrella, DECISION_NODE);
  SetNodeInputName_bn(umbrella, 0, "seen");
  for (state_bn f = 0; f < 3; ++f) SetNodeFuncState_bn(umbrella, &f, f == 0 ? 1 : 0);
  // Utility, continuous: a real function table over two parents, with input names.
  node_bn* utility = addNode(net, "Satisfaction", 0, nullptr, {weather, umbrella});
  SetNodeKind_bn(utility, UTILITY_NODE);
  SetNodeInputName_bn(utility, 1, "choice");
  const double pay[] = {20, 100, 70, 0.01};
  for (state_bn w = 0; w < 2; ++w)
    for (state_bn u = 0; u < 2; ++u) {
      const state_bn row[] = {w, u};
      SetNodeFuncReal_bn(utility, row, pay[w * 2 + u]);
      SetNodeExperience_bn(utility, row, w + u);
    }
  SetNodeTitle_bn(utility, "How content");
  // An equation over two lines (kept exactly, line break included); it leaves the table marked
  // as not following it.
  SetNodeEquation_bn(utility, "Satisfaction (Weather, choice) =\n  Weather == sun ? 100 : 20");
  // Constant, discrete with levels: a real function table and a state finding.
  node_bn* cost = addNode(net, "Cost", 2, "low,high");
  SetNodeKind_bn(cost, CONSTANT_NODE);
  const level_bn prices[] = {1.5, 4};
  SetNodeLevels_bn(cost, 2, prices);
  SetNodeFuncReal_bn(cost, NO_PARENTS, 4);
  EnterFinding_bn(cost, 1);
  // Nature, discrete: a function table of states, a CPT and experience, with a finding by state.
  node_bn* wet = addNode(net, "Wet", 2, "yes,no", {weather, umbrella});
  SetNodeInputName_bn(wet, 0, "sky");
  setCpt(wet, {0, 1, 0, 1, 0.2, 0.8, 1, 0});
  for (state_bn w = 0; w < 2; ++w)
    for (state_bn u = 0; u < 2; ++u) {
      const state_bn row[] = {w, u};
      SetNodeFuncState_bn(wet, row, w == 1 && u == 1 ? 0 : 1);
      SetNodeExperience_bn(wet, row, 3);
    }
  ASSERT_EQ(lastError(), nullptr) << ErrorDisplayMessage_vq(lastError());

  std::string before = picture(net);
  std::string text = netText(net, env, "decide.dne");
  net_bn* back = netFromText(env, text, "decide.dne");
  ASSERT_NE(back, nullptr) << ErrorDisplayMessage_vq(lastError()) << "\n" << text;
  EXPECT_EQ(picture(back), before) << text;
  EXPECT_EQ(errorCount(WARNING_ERR), 0) << text;
  // Written again, the net read back gives the same text, but for the creator comment's time.
  std::string again = netText(back, env, "decide.dne");
  auto body = [](const std::string& t) { return t.substr(t.find("bnet ")); };
  EXPECT_EQ(body(again), body(text));
  DeleteNet_bn(back);
  DeleteNet_bn(net);
}

}  // namespace
