// API functions of node equations.
#include "BN/Net/Bnet.h"
#include "BN/Net/NetEdit.h"
#include "BN/Tables/EquationTable.h"
#include "BN/Tables/EquationTableErrors.h"
#include "Equation/EqnParser.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

extern "C" {

void SetNodeEquation_bn(node_bn* node, const char* eqn) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& nd = f.node(node);
    std::string text = eqn ? eqn : "";
    // A text that does not parse is refused before anything changes.
    if (!text.empty()) parseEquation(&f.env(), eqnSourceOf(nd, text));
    NetEdit edit(*nd.net, "set node equation", EditKind::Text, UndoScope::texts(nd));
    if (text != nd.details().equation) nd.eqnDirty = !text.empty();  // the tables no longer follow it
    nd.editDetails().equation = std::move(text);
    edit.commit();
  });
}

const char* GetNodeEquation_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return f.node(node).details().equation.c_str(); });
}

void EquationToTable_bn(node_bn* node, int num_samples, bool_vq samp_unc, bool_vq add_exist) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& nd = f.node(node);
    if (num_samples < 1) argError(&f.env(), err::EqnTableNumSamples, num_samples);
    if (samp_unc > 1) argError(&f.env(), err::EqnTableSampUnc, static_cast<int>(samp_unc));
    equationToTable(nd, {num_samples, samp_unc != 0, add_exist != 0, 0});
  });
}

}  // extern "C"
