// API functions of findings and of the auto-update setting.
#include "BN/Findings/FindingErrors.h"
#include "BN/Findings/Findings.h"
#include "BN/Net/NetErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

// A state argument of a finding: a node without states is refused as the frame refuses any state
// on it (UNDEF_STATE, which enters nothing, aside); the range is the engine's to check (negative
// and too-large states have their own errors).
Bnode& stateNode(ApiFrame& f, node_bn* node, int state) {
  Bnode& n = f.node(node);
  if (!n.hasStates() && state != UNDEF_STATE) argError(&f.env(), err::StateOnContinuous, state, n.name);
  return n;
}

Bnode& discreteNode(ApiFrame& f, const node_bn* node) {
  Bnode& n = f.node(node);
  if (!n.hasStates()) argError(&f.env(), err::NotDiscrete, n.name);
  return n;
}

}  // namespace

extern "C" {

void EnterFinding_bn(node_bn* node, state_bn state) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { enterState(stateNode(f, node, state), state, false, true); });
}

void EnterFindingNot_bn(node_bn* node, state_bn state) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { enterNot(stateNode(f, node, state), state); });
}

void EnterAction_bn(node_bn* node, state_bn state) {
  apiRun(__func__, envOf(node),
         [&](ApiFrame& f) { enterState(stateNode(f, node, state), state, false, true, true); });
}

void EnterActionValue_bn(node_bn* node, double value) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { enterValue(f.node(node), value, true); });
}

void EnterActionRandomized_bn(node_bn* node, const prob_bn* probs) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = discreteNode(f, node);
    if (!probs) argError(&f.env(), err::ActionProbsNull, n.name);
    enterLikelihood(n, probs, true);
  });
}

void EnterNodeValue_bn(node_bn* node, double value) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { enterValue(f.node(node), value); });
}

void EnterNodeLikelihood_bn(node_bn* node, const prob_bn* likelihood) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = discreteNode(f, node);
    if (!likelihood) argError(&f.env(), err::LikelihoodNull, n.name);
    enterLikelihood(n, likelihood);
  });
}

void EnterNodeCalibration_bn(node_bn* node, const prob_bn* calibration) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = discreteNode(f, node);
    if (!calibration) argError(&f.env(), err::CalibrationNull, n.name);
    enterCalibration(n, calibration);
  });
}

void EnterIntervalFinding_bn(node_bn* node, double low, double high) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { enterInterval(f.node(node), low, high); });
}

void EnterGaussianFinding_bn(node_bn* node, double mean, double std_dev) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { enterGaussian(f.node(node), mean, std_dev); });
}

state_bn GetNodeFinding_bn(const node_bn* node) {
  return apiCall(__func__, state_bn{-1}, envOf(node),
                 [&](ApiFrame& f) { return findingCode(discreteNode(f, node)); });
}

double GetNodeValueEntered_bn(const node_bn* node) {
  return apiCall(__func__, GetUndefDbl_vq(), envOf(node), [&](ApiFrame& f) { return f.node(node).finding.value; });
}

const prob_bn* GetNodeLikelihood_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<const prob_bn*>(nullptr), envOf(node), [&](ApiFrame& f) {
    const Bnode& n = discreteNode(f, node);
    n.editDetails().likelihoodRead = accumulatedLikelihood(n);
    return static_cast<const prob_bn*>(n.details().likelihoodRead.data());
  });
}

void RetractNodeFindings_bn(node_bn* node) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { retractNode(f.node(node)); });
}

void RetractNetFindings_bn(net_bn* net) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) { retractNet(f.net(net)); });
}

int SetNetAutoUpdate_bn(net_bn* net, int auto_update) {
  return apiCall(__func__, -1, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (auto_update != 0 && auto_update != BELIEF_UPDATE)
      argError(&f.env(), err::AutoUpdateValue, auto_update, BELIEF_UPDATE);
    int before = n.autoUpdate ? BELIEF_UPDATE : 0;
    n.autoUpdate = auto_update != 0;
    return before;
  });
}

bool_vq IsBeliefUpdated_bn(const node_bn* node) {
  return apiCall(__func__, bool_vq{0}, envOf(node),
                 [&](ApiFrame& f) { return static_cast<bool_vq>(f.node(node).net->beliefsCurrent()); });
}

}  // extern "C"
