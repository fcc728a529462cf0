// The parts of BeliefFormat for approximate beliefs and for expected values: reading beliefs and
// their errors from the engine's approximate methods, and printing them with what the method did.
#include <cmath>

#include "BeliefFormat.h"

namespace quorva::cli {

namespace {

// The real value a state stands for: its level, or the middle of its interval.
double stateValue(node_bn* node, int s) {
  const level_bn* levels = GetNodeLevels_bn(node);
  if (GetNodeType_bn(node) == CONTINUOUS_TYPE) return (levels[s] + levels[s + 1]) / 2;
  return levels[s];
}

}  // namespace

bool BeliefFormat::readApprox(net_bn* net, BeliefMethod method, const MethodSettings& settings) {
  method_ = method;
  const approx_method_bn m = engineMethod(method);
  const int size = ApproxNetBeliefs_bn(net, m, settings.samples, settings.seconds, settings.damping, settings.seed,
                                       nullptr, nullptr, 0, nullptr);
  if (size < 0) return false;
  std::vector<double> beliefs(static_cast<size_t>(size)), errors(static_cast<size_t>(size));
  if (ApproxNetBeliefs_bn(net, m, settings.samples, settings.seconds, settings.damping, settings.seed, beliefs.data(),
                          errors.data(), size, &summary_) < 0)
    return false;
  probability_ = method == BeliefMethod::Loopy ? std::nan("") : summary_.findings_probability;
  approxBeliefs_.resize(shown_.size());
  errors_.resize(shown_.size());
  for (size_t i = 0; i < shown_.size(); ++i) {
    const auto at = static_cast<size_t>(offsets_[i]);
    const size_t count = stateLabels_[i].size();
    approxBeliefs_[i].assign(beliefs.begin() + static_cast<long>(at), beliefs.begin() + static_cast<long>(at + count));
    errors_[i].assign(errors.begin() + static_cast<long>(at), errors.begin() + static_cast<long>(at + count));
    beliefs_[i] = approxBeliefs_[i].data();
  }
  readExpected();
  return true;
}

void BeliefFormat::readExpected() {
  for (size_t i = 0; i < shown_.size(); ++i) {
    if (!valued_[i]) continue;
    if (method_ == BeliefMethod::Exact) {
      means_[i] = GetNodeExpectedValue_bn(shown_[i], &sds_[i], nullptr, nullptr);
      continue;
    }
    double mean = 0, second = 0;
    for (size_t s = 0; s < stateLabels_[i].size(); ++s) {
      const double v = stateValue(shown_[i], static_cast<int>(s)), p = beliefs_[i][s];
      mean += p * v;
      second += p * v * v;
    }
    means_[i] = mean;
    sds_[i] = std::sqrt(std::max(0.0, second - mean * mean));
  }
}

void BeliefFormat::appendNodeExtras(std::string& out, size_t i) const {
  if (!errors_.empty()) {
    out += ",\"errors\":[";
    for (size_t s = 0; s < errors_[i].size(); ++s) {
      if (s) out += ',';
      appendNumber(out, errors_[i][s]);
    }
    out += ']';
  }
  if (valued_[i]) {
    out += ",\"expected\":{\"mean\":";
    appendNumber(out, means_[i]);
    out += ",\"std_dev\":";
    appendNumber(out, sds_[i]);
    out += '}';
  }
}

void BeliefFormat::appendApproxHead(std::string& out) const {
  if (method_ == BeliefMethod::Exact) return;
  out += ",\"method\":\"";
  out += methodWord(method_);
  if (method_ == BeliefMethod::Loopy) {
    out += "\",\"rounds\":";
    out += std::to_string(static_cast<long long>(summary_.samples));
    out += ",\"converged\":";
    out += summary_.converged ? "true" : "false";
    out += ",\"max_change\":";
    appendNumber(out, summary_.max_change);
  } else {
    out += "\",\"samples\":";
    out += std::to_string(static_cast<long long>(summary_.samples));
    out += ",\"effective_samples\":";
    appendNumber(out, summary_.effective_samples);
  }
}

void BeliefFormat::addApproxJson(nlohmann::ordered_json& top) const {
  if (method_ == BeliefMethod::Exact) return;
  top["method"] = methodWord(method_);
  if (method_ == BeliefMethod::Loopy) {
    top["rounds"] = static_cast<long long>(summary_.samples);
    top["converged"] = summary_.converged != 0;
    top["max_change"] = summary_.max_change;
  } else {
    top["samples"] = static_cast<long long>(summary_.samples);
    top["effective_samples"] = summary_.effective_samples;
  }
}

void BeliefFormat::addNodeJson(nlohmann::ordered_json& node, size_t i) const {
  if (!errors_.empty()) node["errors"] = errors_[i];
  if (valued_[i]) node["expected"] = {{"mean", means_[i]}, {"std_dev", sds_[i]}};
}

std::string BeliefFormat::approxLine() const {
  if (method_ == BeliefMethod::Loopy)
    return "unknown (loopy propagation: " + counted(static_cast<long long>(summary_.samples), "round") +
           (summary_.converged ? ", converged" : ", not converged") + ", last change " + readable(summary_.max_change) +
           ")";
  const char* name = method_ == BeliefMethod::LikelihoodWeighting ? "likelihood weighting" : "importance sampling";
  return readable(probability_) + " (estimated by " + name + ": " +
         counted(static_cast<long long>(summary_.samples), "case") + ", effective " +
         readable(summary_.effective_samples) + "; each belief's standard error after \u00B1)";
}

}  // namespace quorva::cli
