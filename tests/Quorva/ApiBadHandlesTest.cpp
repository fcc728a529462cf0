// Every function of the public header, called with null handles and with deleted ones at each
// checking level that checks handles (at NO_CHECK nothing is checked, so a bad handle there is
// the caller's fault and is not tried): each returns its failure value and leaves an error record,
// and none crashes or lets an exception out.  The functions are read from the header itself, so
// that one added without an entry here fails the test.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "Support/EnvFixture.h"

namespace {

// The handles passed: all null, or all deleted (the environment is always null: a closed one
// cannot be reached at all).
struct Bad {
  environ_vq* env = nullptr;
  net_bn* net = nullptr;
  node_bn* node = nullptr;
  nodelist_bn* list = nullptr;
  report_vq* report = nullptr;
  stream_vq* stream = nullptr;
  randgen_vq* rand = nullptr;
  caseset_cs* cases = nullptr;
  learner_bn* learner = nullptr;
  tester_bn* tester = nullptr;
  sensv_bn* sensv = nullptr;
  char* text = nullptr;
  mutable const char* str = nullptr;
};

// A buffer of zeros for array and out arguments.
template <class T>
T* zeros() {
  static T z[512]{};
  return z;
}

template <class T>
bool failed(T* p) {
  return p == nullptr;
}
template <class T>
  requires std::is_arithmetic_v<T> || std::is_enum_v<T>
bool failed(T v) {
  return !(static_cast<double>(v) > 0);
}

struct Call {
  const char* name;
  bool (*call)(const Bad&);  // true when the call returned its failure value (or has none)
};

// Generated from the header's declarations: each handle argument takes the bad handle of its
// type, strings "A", numbers 0 (enums 1), arrays and out arguments a buffer of zeros.
const Call CALLS[] = {
    {"NewQuorvaEnviron_vq", [](const Bad& b) { return failed(NewQuorvaEnviron_vq("A", b.env, "A")); }},
    {"InitQuorva2_bn", [](const Bad& b) { return failed(InitQuorva2_bn(b.env, b.text)); }},
    {"CloseQuorva_bn", [](const Bad& b) { return failed(CloseQuorva_bn(b.env, b.text)); }},
    {"GetQuorvaVersion_bn", [](const Bad& b) { return failed(GetQuorvaVersion_bn(b.env, &b.str)); }},
    {"ArgumentChecking_vq", [](const Bad& b) { return failed(ArgumentChecking_vq(0, b.env)); }},
    {"LimitMemoryUsage_vq", [](const Bad& b) { return failed(LimitMemoryUsage_vq(0, b.env)); }},
    {"SetLanguage_vq", [](const Bad& b) { return failed(SetLanguage_vq(b.env, "A")); }},
    {"ControlConcurrency_vq", [](const Bad& b) { return failed(ControlConcurrency_vq(b.env, "A", "A")); }},
    {"TestFaultRecovery_vq", [](const Bad& b) { return failed(TestFaultRecovery_vq(b.env, 0)); }},
    {"GetError_vq", [](const Bad& b) { return failed(GetError_vq(b.env, static_cast<errseverity_vq>(1), b.report)); }},
    {"ErrorNumber_vq", [](const Bad& b) { return failed(ErrorNumber_vq(b.report)); }},
    {"ErrorMessage_vq", [](const Bad& b) { return failed(ErrorMessage_vq(b.report)); }},
    {"ErrorDisplayMessage_vq", [](const Bad& b) { return failed(ErrorDisplayMessage_vq(b.report)); }},
    {"ErrorSeverity_vq", [](const Bad& b) { return failed(ErrorSeverity_vq(b.report)); }},
    {"ErrorCategory_vq", [](const Bad& b) { return failed(ErrorCategory_vq(static_cast<errcond_vq>(1), b.report)); }},
    {"ClearError_vq", [](const Bad& b) { ClearError_vq(b.report); return true; }},
    {"ClearErrors_vq", [](const Bad& b) { ClearErrors_vq(b.env, 0); return true; }},
    {"NewError_vq", [](const Bad& b) { return failed(NewError_vq(b.env, 0, static_cast<errseverity_vq>(1), "A")); }},
    {"NewNet_bn", [](const Bad& b) { return failed(NewNet_bn("A", b.env)); }},
    {"CopyNet_bn", [](const Bad& b) { return failed(CopyNet_bn(b.net, "A", b.env, "A")); }},
    {"DeleteNet_bn", [](const Bad& b) { DeleteNet_bn(b.net); return true; }},
    {"SetNetName_bn", [](const Bad& b) { SetNetName_bn(b.net, "A"); return true; }},
    {"GetNetName_bn", [](const Bad& b) { return failed(GetNetName_bn(b.net)); }},
    {"SetNetTitle_bn", [](const Bad& b) { SetNetTitle_bn(b.net, "A"); return true; }},
    {"GetNetTitle_bn", [](const Bad& b) { return failed(GetNetTitle_bn(b.net)); }},
    {"SetNetComment_bn", [](const Bad& b) { SetNetComment_bn(b.net, "A"); return true; }},
    {"GetNetComment_bn", [](const Bad& b) { return failed(GetNetComment_bn(b.net)); }},
    {"GetNetEnviron_bn", [](const Bad& b) { return failed(GetNetEnviron_bn(b.net)); }},
    {"SetNetUserField_bn", [](const Bad& b) { SetNetUserField_bn(b.net, "A", nullptr, 0, 0); return true; }},
    {"GetNetUserField_bn", [](const Bad& b) { return failed(GetNetUserField_bn(b.net, "A", zeros<int>(), 0)); }},
    {"GetNetNthUserField_bn", [](const Bad& b) { GetNetNthUserField_bn(b.net, 0, &b.str, &b.str, zeros<int>(), 0); return true; }},
    {"GetNetNodes_bn", [](const Bad& b) { return failed(GetNetNodes_bn(b.net)); }},
    {"GetNodeNamed_bn", [](const Bad& b) { return failed(GetNodeNamed_bn("A", b.net)); }},
    {"NewNode_bn", [](const Bad& b) { return failed(NewNode_bn("A", 0, b.net)); }},
    {"DeleteNode_bn", [](const Bad& b) { DeleteNode_bn(b.node); return true; }},
    {"CopyNodes_bn", [](const Bad& b) { return failed(CopyNodes_bn(b.list, b.net, "A")); }},
    {"SetNodeName_bn", [](const Bad& b) { SetNodeName_bn(b.node, "A"); return true; }},
    {"GetNodeName_bn", [](const Bad& b) { return failed(GetNodeName_bn(b.node)); }},
    {"SetNodeTitle_bn", [](const Bad& b) { SetNodeTitle_bn(b.node, "A"); return true; }},
    {"GetNodeTitle_bn", [](const Bad& b) { return failed(GetNodeTitle_bn(b.node)); }},
    {"SetNodeComment_bn", [](const Bad& b) { SetNodeComment_bn(b.node, "A"); return true; }},
    {"GetNodeComment_bn", [](const Bad& b) { return failed(GetNodeComment_bn(b.node)); }},
    {"GetNodeNet_bn", [](const Bad& b) { return failed(GetNodeNet_bn(b.node)); }},
    {"SetNodeVisPosition_bn", [](const Bad& b) { SetNodeVisPosition_bn(b.node, nullptr, 0, 0); return true; }},
    {"GetNodeVisPosition_bn", [](const Bad& b) { GetNodeVisPosition_bn(b.node, nullptr, zeros<double>(), zeros<double>()); return true; }},
    {"SetNodeKind_bn", [](const Bad& b) { SetNodeKind_bn(b.node, static_cast<nodekind_bn>(1)); return true; }},
    {"GetNodeKind_bn", [](const Bad& b) { return failed(GetNodeKind_bn(b.node)); }},
    {"GetNodeType_bn", [](const Bad& b) { return failed(GetNodeType_bn(b.node)); }},
    {"SetNodeUserField_bn", [](const Bad& b) { SetNodeUserField_bn(b.node, "A", nullptr, 0, 0); return true; }},
    {"GetNodeUserField_bn", [](const Bad& b) { return failed(GetNodeUserField_bn(b.node, "A", zeros<int>(), 0)); }},
    {"GetNodeNthUserField_bn", [](const Bad& b) { GetNodeNthUserField_bn(b.node, 0, &b.str, &b.str, zeros<int>(), 0); return true; }},
    {"GetNodeNumberStates_bn", [](const Bad& b) { return failed(GetNodeNumberStates_bn(b.node)); }},
    {"SetNodeStateName_bn", [](const Bad& b) { SetNodeStateName_bn(b.node, 0, "A"); return true; }},
    {"SetNodeStateNames_bn", [](const Bad& b) { SetNodeStateNames_bn(b.node, "A"); return true; }},
    {"GetNodeStateName_bn", [](const Bad& b) { return failed(GetNodeStateName_bn(b.node, 0)); }},
    {"GetStateNamed_bn", [](const Bad& b) { return failed(GetStateNamed_bn("A", b.node)); }},
    {"SetNodeStateTitle_bn", [](const Bad& b) { SetNodeStateTitle_bn(b.node, 0, "A"); return true; }},
    {"GetNodeStateTitle_bn", [](const Bad& b) { return failed(GetNodeStateTitle_bn(b.node, 0)); }},
    {"SetNodeStateComment_bn", [](const Bad& b) { SetNodeStateComment_bn(b.node, 0, "A"); return true; }},
    {"GetNodeStateComment_bn", [](const Bad& b) { return failed(GetNodeStateComment_bn(b.node, 0)); }},
    {"AddNodeStates_bn", [](const Bad& b) { AddNodeStates_bn(b.node, 0, "A", 0, 0); return true; }},
    {"RemoveNodeState_bn", [](const Bad& b) { RemoveNodeState_bn(b.node, 0); return true; }},
    {"ReorderNodeStates_bn", [](const Bad& b) { ReorderNodeStates_bn(b.node, zeros<state_bn>()); return true; }},
    {"SetNodeLevels_bn", [](const Bad& b) { SetNodeLevels_bn(b.node, 0, zeros<level_bn>()); return true; }},
    {"GetNodeLevels_bn", [](const Bad& b) { return failed(GetNodeLevels_bn(b.node)); }},
    {"AddLink_bn", [](const Bad& b) { return failed(AddLink_bn(b.node, b.node)); }},
    {"DeleteLink_bn", [](const Bad& b) { DeleteLink_bn(0, b.node); return true; }},
    {"SwitchNodeParent_bn", [](const Bad& b) { SwitchNodeParent_bn(0, b.node, b.node); return true; }},
    {"GetNodeParents_bn", [](const Bad& b) { return failed(GetNodeParents_bn(b.node)); }},
    {"GetNodeChildren_bn", [](const Bad& b) { return failed(GetNodeChildren_bn(b.node)); }},
    {"SetNodeInputName_bn", [](const Bad& b) { SetNodeInputName_bn(b.node, 0, "A"); return true; }},
    {"GetNodeInputName_bn", [](const Bad& b) { return failed(GetNodeInputName_bn(b.node, 0)); }},
    {"SetNodeInputDelay_bn", [](const Bad& b) { return failed(SetNodeInputDelay_bn(b.node, 0, 0, "A")); }},
    {"SetNodePersistence_bn", [](const Bad& b) { return failed(SetNodePersistence_bn(b.node, 0, "A")); }},
    {"NewNodeList2_bn", [](const Bad& b) { return failed(NewNodeList2_bn(0, b.net)); }},
    {"DeleteNodeList_bn", [](const Bad& b) { DeleteNodeList_bn(b.list); return true; }},
    {"LengthNodeList_bn", [](const Bad& b) { return failed(LengthNodeList_bn(b.list)); }},
    {"GetNthNode_bn", [](const Bad& b) { return failed(GetNthNode_bn(b.list, 0)); }},
    {"AddNodeToList_bn", [](const Bad& b) { AddNodeToList_bn(b.node, b.list, 0); return true; }},
    {"SetNodeProbs_bn", [](const Bad& b) { SetNodeProbs_bn(b.node, zeros<state_bn>(), zeros<prob_bn>()); return true; }},
    {"GetNodeProbs_bn", [](const Bad& b) { return failed(GetNodeProbs_bn(b.node, zeros<state_bn>())); }},
    {"SetNodeFuncState_bn", [](const Bad& b) { SetNodeFuncState_bn(b.node, zeros<state_bn>(), 0); return true; }},
    {"SetNodeFuncReal_bn", [](const Bad& b) { SetNodeFuncReal_bn(b.node, zeros<state_bn>(), 0); return true; }},
    {"GetNodeFuncState_bn", [](const Bad& b) { return failed(GetNodeFuncState_bn(b.node, zeros<state_bn>())); }},
    {"GetNodeFuncReal_bn", [](const Bad& b) { return failed(GetNodeFuncReal_bn(b.node, zeros<state_bn>())); }},
    {"SetNodeExperience_bn", [](const Bad& b) { SetNodeExperience_bn(b.node, zeros<state_bn>(), 0); return true; }},
    {"GetNodeExperience_bn", [](const Bad& b) { return failed(GetNodeExperience_bn(b.node, zeros<state_bn>())); }},
    {"HasNodeTable_bn", [](const Bad& b) { return failed(HasNodeTable_bn(b.node, zeros<bool_vq>())); }},
    {"IsNodeDeterministic_bn", [](const Bad& b) { return failed(IsNodeDeterministic_bn(b.node)); }},
    {"DeleteNodeTables_bn", [](const Bad& b) { DeleteNodeTables_bn(b.node); return true; }},
    {"GetNodeTable_bn", [](const Bad& b) { return failed(GetNodeTable_bn(b.node, "A", zeros<state_bn>(), 0, zeros<double>(), zeros<int>())); }},
    {"SetNodeTable_bn", [](const Bad& b) { SetNodeTable_bn(b.node, "A", zeros<state_bn>(), 0, zeros<double>(), 0); return true; }},
    {"EnterFinding_bn", [](const Bad& b) { EnterFinding_bn(b.node, 0); return true; }},
    {"EnterFindingNot_bn", [](const Bad& b) { EnterFindingNot_bn(b.node, 0); return true; }},
    {"EnterAction_bn", [](const Bad& b) { EnterAction_bn(b.node, 0); return true; }},
    {"EnterActionValue_bn", [](const Bad& b) { EnterActionValue_bn(b.node, 0); return true; }},
    {"EnterActionRandomized_bn", [](const Bad& b) { EnterActionRandomized_bn(b.node, zeros<prob_bn>()); return true; }},
    {"EnterNodeValue_bn", [](const Bad& b) { EnterNodeValue_bn(b.node, 0); return true; }},
    {"EnterNodeLikelihood_bn", [](const Bad& b) { EnterNodeLikelihood_bn(b.node, zeros<prob_bn>()); return true; }},
    {"EnterNodeCalibration_bn", [](const Bad& b) { EnterNodeCalibration_bn(b.node, zeros<prob_bn>()); return true; }},
    {"EnterIntervalFinding_bn", [](const Bad& b) { EnterIntervalFinding_bn(b.node, 0, 0); return true; }},
    {"EnterGaussianFinding_bn", [](const Bad& b) { EnterGaussianFinding_bn(b.node, 0, 0); return true; }},
    {"GetNodeFinding_bn", [](const Bad& b) { return failed(GetNodeFinding_bn(b.node)); }},
    {"GetNodeValueEntered_bn", [](const Bad& b) { return failed(GetNodeValueEntered_bn(b.node)); }},
    {"GetNodeLikelihood_bn", [](const Bad& b) { return failed(GetNodeLikelihood_bn(b.node)); }},
    {"RetractNodeFindings_bn", [](const Bad& b) { RetractNodeFindings_bn(b.node); return true; }},
    {"RetractNetFindings_bn", [](const Bad& b) { RetractNetFindings_bn(b.net); return true; }},
    {"SetNetAutoUpdate_bn", [](const Bad& b) { return failed(SetNetAutoUpdate_bn(b.net, 0)); }},
    {"IsBeliefUpdated_bn", [](const Bad& b) { return failed(IsBeliefUpdated_bn(b.node)); }},
    {"AddNetListener_bn", [](const Bad& b) { AddNetListener_bn(b.net, nullptr, nullptr, 0); return true; }},
    {"AddNodeListener_bn", [](const Bad& b) { AddNodeListener_bn(b.node, nullptr, nullptr, 0); return true; }},
    {"RemoveNthNode_bn", [](const Bad& b) { return failed(RemoveNthNode_bn(b.list, 0)); }},
    {"SetNthNode_bn", [](const Bad& b) { SetNthNode_bn(b.list, 0, b.node); return true; }},
    {"IndexOfNodeInList_bn", [](const Bad& b) { return failed(IndexOfNodeInList_bn(b.node, b.list, 0)); }},
    {"DupNodeList_bn", [](const Bad& b) { return failed(DupNodeList_bn(b.list)); }},
    {"ClearNodeList_bn", [](const Bad& b) { ClearNodeList_bn(b.list); return true; }},
    {"AddNodeToNodeset_bn", [](const Bad& b) { AddNodeToNodeset_bn(b.node, "A"); return true; }},
    {"RemoveNodeFromNodeset_bn", [](const Bad& b) { RemoveNodeFromNodeset_bn(b.node, "A"); return true; }},
    {"IsNodeInNodeset_bn", [](const Bad& b) { return failed(IsNodeInNodeset_bn(b.node, "A")); }},
    {"GetAllNodesets_bn", [](const Bad& b) { return failed(GetAllNodesets_bn(b.net, 0, nullptr)); }},
    {"ReorderNodesets_bn", [](const Bad& b) { ReorderNodesets_bn(b.net, "A", nullptr); return true; }},
    {"SetNodesetColor_bn", [](const Bad& b) { return failed(SetNodesetColor_bn("A", 0, b.net, nullptr)); }},
    {"NewRandomGenerator_vq", [](const Bad& b) { return failed(NewRandomGenerator_vq("A", b.env, "A")); }},
    {"GetRandomGenState_vq", [](const Bad& b) { return failed(GetRandomGenState_vq(b.rand, "A")); }},
    {"GenerateRandomNumbers_vq", [](const Bad& b) { return failed(GenerateRandomNumbers_vq(b.rand, zeros<double>(), 0, "A")); }},
    {"DeleteRandomGen_vq", [](const Bad& b) { DeleteRandomGen_vq(b.rand); return true; }},
    {"SetNetRandomGen_bn", [](const Bad& b) { SetNetRandomGen_bn(b.net, b.rand, 0); return true; }},
    {"GenerateRandomCase_bn", [](const Bad& b) { return failed(GenerateRandomCase_bn(b.list, static_cast<sampling_bn>(1), 0, b.rand)); }},
    {"CompileNet_bn", [](const Bad& b) { CompileNet_bn(b.net); return true; }},
    {"UncompileNet_bn", [](const Bad& b) { UncompileNet_bn(b.net); return true; }},
    {"SizeCompiledNet_bn", [](const Bad& b) { return failed(SizeCompiledNet_bn(b.net, 0)); }},
    {"ReportJunctionTree_bn", [](const Bad& b) { return failed(ReportJunctionTree_bn(b.net)); }},
    {"SetNetElimOrder_bn", [](const Bad& b) { SetNetElimOrder_bn(b.net, b.list); return true; }},
    {"GetNetElimOrder_bn", [](const Bad& b) { return failed(GetNetElimOrder_bn(b.net)); }},
    {"GetNodeBeliefs_bn", [](const Bad& b) { return failed(GetNodeBeliefs_bn(b.node)); }},
    {"FindingsProbability_bn", [](const Bad& b) { return failed(FindingsProbability_bn(b.net)); }},
    {"GetNodeExpectedValue_bn", [](const Bad& b) { return failed(GetNodeExpectedValue_bn(b.node, zeros<double>(), zeros<double>(), zeros<double>())); }},
    {"MostProbableConfig_bn", [](const Bad& b) { MostProbableConfig_bn(b.list, zeros<state_bn>(), 0); return true; }},
    {"JointProbability_bn", [](const Bad& b) { return failed(JointProbability_bn(b.list, zeros<state_bn>())); }},
    {"GetJointProbability_bn", [](const Bad& b) { return failed(GetJointProbability_bn(b.list, zeros<state_bn>())); }},
    {"NewFileStream_vq", [](const Bad& b) { return failed(NewFileStream_vq("A", b.env, "A")); }},
    {"NewMemoryStream_vq", [](const Bad& b) { return failed(NewMemoryStream_vq("A", b.env, "A")); }},
    {"SetStreamContents_vq", [](const Bad& b) { SetStreamContents_vq(b.stream, "A", 0, 0); return true; }},
    {"GetStreamContents_vq", [](const Bad& b) { return failed(GetStreamContents_vq(b.stream, zeros<long long>())); }},
    {"DeleteStream_vq", [](const Bad& b) { DeleteStream_vq(b.stream); return true; }},
    {"SetStreamPassword_vq", [](const Bad& b) { SetStreamPassword_vq(b.stream, "A"); return true; }},
    {"WriteNet_bn", [](const Bad& b) { WriteNet_bn(b.net, b.stream); return true; }},
    {"ReadNet_bn", [](const Bad& b) { return failed(ReadNet_bn(b.stream, 0)); }},
    {"GuessNetFormat_bn", [](const Bad& b) { return failed(GuessNetFormat_bn(b.stream)); }},
    {"ReadNetFormat_bn", [](const Bad& b) { return failed(ReadNetFormat_bn(b.stream, 0, NO_VISUAL_INFO)); }},
    {"WriteNetFormat_bn", [](const Bad& b) { WriteNetFormat_bn(b.net, b.stream, DNET_FORMAT); return true; }},
    {"EnterUaiEvidence_bn", [](const Bad& b) { return failed(EnterUaiEvidence_bn(b.net, b.stream)); }},
    {"WriteNetFindings_bn", [](const Bad& b) { return failed(WriteNetFindings_bn(b.list, b.stream, 0, 0)); }},
    {"ReadNetFindings_bn", [](const Bad& b) { ReadNetFindings_bn(zeros<caseposn_bn>(), b.stream, b.list, zeros<long>(), zeros<double>()); return true; }},
    {"ReadNetFindings2_bn", [](const Bad& b) { ReadNetFindings2_bn(zeros<caseposn_bn>(), b.stream, 0, b.list, zeros<long>(), zeros<double>()); return true; }},
    {"ReadNetFindings3_bn", [](const Bad& b) { ReadNetFindings3_bn(zeros<caseposn_bn>(), b.stream, 0, b.list, static_cast<addnew_bn>(1), zeros<long>(), zeros<double>()); return true; }},
    {"SetCaseFileDelimChar_vq", [](const Bad& b) { return failed(SetCaseFileDelimChar_vq(0, b.env)); }},
    {"SetMissingDataChar_vq", [](const Bad& b) { return failed(SetMissingDataChar_vq(0, b.env)); }},
    {"SetCaseFileValueForm_vq", [](const Bad& b) { return failed(SetCaseFileValueForm_vq(0, b.env)); }},
    {"NewCaseset_cs", [](const Bad& b) { return failed(NewCaseset_cs("A", b.env)); }},
    {"AddFileToCaseset_cs", [](const Bad& b) { AddFileToCaseset_cs(b.cases, b.stream, 0, "A"); return true; }},
    {"WriteCaseset_cs", [](const Bad& b) { WriteCaseset_cs(b.cases, b.stream, "A"); return true; }},
    {"DeleteCaseset_cs", [](const Bad& b) { DeleteCaseset_cs(b.cases); return true; }},
    {"SetNodeEquation_bn", [](const Bad& b) { SetNodeEquation_bn(b.node, "A"); return true; }},
    {"GetNodeEquation_bn", [](const Bad& b) { return failed(GetNodeEquation_bn(b.node)); }},
    {"EquationToTable_bn", [](const Bad& b) { EquationToTable_bn(b.node, 0, 0, 0); return true; }},
    {"NewSensvToFinding_bn", [](const Bad& b) { return failed(NewSensvToFinding_bn(b.node, b.list, 0)); }},
    {"DeleteSensvToFinding_bn", [](const Bad& b) { DeleteSensvToFinding_bn(b.sensv); return true; }},
    {"GetSensvMutualInfo_bn", [](const Bad& b) { return failed(GetSensvMutualInfo_bn(b.sensv, b.node)); }},
    {"GetSensvVarianceReduction_bn", [](const Bad& b) { return failed(GetSensvVarianceReduction_bn(b.sensv, b.node)); }},
    {"GetSensvBeliefVariance_bn", [](const Bad& b) { return failed(GetSensvBeliefVariance_bn(b.sensv, b.node)); }},
    {"GetSensvRealMean_bn", [](const Bad& b) { return failed(GetSensvRealMean_bn(b.sensv, b.node, 0)); }},
    {"GetSensvRatio_bn", [](const Bad& b) { return failed(GetSensvRatio_bn(b.sensv, b.node, 0, 0)); }},
    {"GetSensvBeliefChange_bn", [](const Bad& b) { return failed(GetSensvBeliefChange_bn(b.sensv, b.node, 0)); }},
    {"GetSensvBeliefChangeVariance_bn", [](const Bad& b) { return failed(GetSensvBeliefChangeVariance_bn(b.sensv, b.node, 0)); }},
    {"GetSensvBeliefRange_bn", [](const Bad& b) { return failed(GetSensvBeliefRange_bn(b.sensv, b.node, 0, zeros<double>(), zeros<double>())); }},
    {"ReviseCPTsByFindings_bn", [](const Bad& b) { ReviseCPTsByFindings_bn(b.list, 0, 0); return true; }},
    {"ReviseCPTsByCaseFile_bn", [](const Bad& b) { ReviseCPTsByCaseFile_bn(b.stream, b.list, 0, 0); return true; }},
    {"FadeCPTable_bn", [](const Bad& b) { FadeCPTable_bn(b.node, 0); return true; }},
    {"NewLearner_bn", [](const Bad& b) { return failed(NewLearner_bn(static_cast<learn_method_bn>(1), "A", b.env)); }},
    {"SetLearnerMaxIters_bn", [](const Bad& b) { return failed(SetLearnerMaxIters_bn(b.learner, 0)); }},
    {"SetLearnerMaxTol_bn", [](const Bad& b) { return failed(SetLearnerMaxTol_bn(b.learner, 0)); }},
    {"SetLearnerThreads_bn", [](const Bad& b) { return failed(SetLearnerThreads_bn(b.learner, 0)); }},
    {"LearnCPTs_bn", [](const Bad& b) { LearnCPTs_bn(b.learner, b.list, b.cases, 0); return true; }},
    {"GetLearnerIterations_bn", [](const Bad& b) { return failed(GetLearnerIterations_bn(b.learner)); }},
    {"GetLearnerLogLikelihood_bn", [](const Bad& b) { return failed(GetLearnerLogLikelihood_bn(b.learner, 0)); }},
    {"DeleteLearner_bn", [](const Bad& b) { DeleteLearner_bn(b.learner); return true; }},
    {"NewNetTester_bn", [](const Bad& b) { return failed(NewNetTester_bn(b.list, b.list, 0)); }},
    {"TestWithCaseset_bn", [](const Bad& b) { TestWithCaseset_bn(b.tester, b.cases); return true; }},
    {"GetTestErrorRate_bn", [](const Bad& b) { return failed(GetTestErrorRate_bn(b.tester, b.node)); }},
    {"GetTestLogLoss_bn", [](const Bad& b) { return failed(GetTestLogLoss_bn(b.tester, b.node)); }},
    {"GetTestQuadraticLoss_bn", [](const Bad& b) { return failed(GetTestQuadraticLoss_bn(b.tester, b.node)); }},
    {"GetTestConfusion_bn", [](const Bad& b) { return failed(GetTestConfusion_bn(b.tester, b.node, 0, 0)); }},
    {"SetNetTesterThreads_bn", [](const Bad& b) { return failed(SetNetTesterThreads_bn(b.tester, 0)); }},
    {"DeleteNetTester_bn", [](const Bad& b) { DeleteNetTester_bn(b.tester); return true; }},
    {"SetNetNumUndos_bn", [](const Bad& b) { SetNetNumUndos_bn(b.net, 0, 0, "A"); return true; }},
    {"UndoNetLastOper_vq", [](const Bad& b) { return failed(UndoNetLastOper_vq(b.net, 0)); }},
    {"RedoNetOper_vq", [](const Bad& b) { return failed(RedoNetOper_vq(b.net, 0)); }},
    {"GetJointBeliefs_bn", [](const Bad& b) { return failed(GetJointBeliefs_bn(b.list, zeros<double>(), 0)); }},
    {"MostProbableJointConfig_bn", [](const Bad& b) { return failed(MostProbableJointConfig_bn(b.list, zeros<state_bn>())); }},
    {"IsDSeparated_bn", [](const Bad& b) { return failed(IsDSeparated_bn(b.list, b.list, b.list)); }},
    {"GetMarkovBlanket_bn", [](const Bad& b) { return failed(GetMarkovBlanket_bn(b.node)); }},
    {"GetRelevantNodes_bn", [](const Bad& b) { return failed(GetRelevantNodes_bn(b.list)); }},
    {"InterveneNode_bn", [](const Bad& b) { InterveneNode_bn(b.node, 0); return true; }},
    {"SetNetNoForgetting_bn", [](const Bad& b) { return failed(SetNetNoForgetting_bn(b.net, 0)); }},
    {"GetNodeExpectedUtils_bn", [](const Bad& b) { return failed(GetNodeExpectedUtils_bn(b.node)); }},
    {"GetNetExpectedUtility_bn", [](const Bad& b) { return failed(GetNetExpectedUtility_bn(b.net)); }},
    {"WriteSampledCases_bn", [](const Bad& b) { return failed(WriteSampledCases_bn(b.net, b.stream, 0, 0, 0, "A")); }},
    {"ApproxNetBeliefs_bn", [](const Bad& b) { return failed(ApproxNetBeliefs_bn(b.net, static_cast<approx_method_bn>(1), 0, 0, 0, 0, zeros<double>(), zeros<double>(), 0, zeros<approx_summary_bn>())); }},
};

// Functions that take no handle at all, so cannot be given a bad one.
const std::set<std::string> WITHOUT_HANDLES = {"GetUndefDbl_vq"};

// Functions for which a null handle is a legitimate argument, with why.
const std::set<std::string> NULL_ALLOWED = {
    "NewQuorvaEnviron_vq",  // `prev` must be NULL: a new environment is made
};

// Functions whose refusal of a null environment cannot be recorded in any environment: it is
// written to the standard error stream instead.
const std::set<std::string> UNRECORDED = {"InitQuorva2_bn"};

// The API functions the header declares.
std::set<std::string> headerFunctions() {
  std::ifstream in(dataPath("../../include/Quorva.h"));
  std::stringstream text;
  text << in.rdbuf();
  const std::string noComments = std::regex_replace(text.str(), std::regex(R"(/\*[\s\S]*?\*/)"), "");
  const std::regex decl(R"((?:^|\n)[A-Za-z_][\w \*]*?[\s\*](\w+_(?:bn|vq|cs))\s*\([^)]*\)\s*;)");
  std::set<std::string> names;
  for (std::sregex_iterator it(noComments.begin(), noComments.end(), decl), end; it != end; ++it)
    names.insert((*it)[1]);
  return names;
}

class ApiBadHandlesTest : public EnvTest {
 protected:
  // Handles of every kind, made and deleted.
  Bad deletedHandles() {
    Bad b;
    b.net = NewNet_bn("Gone", env);
    net_bn* keep = NewNet_bn("Kept", env);
    b.node = NewNode_bn("A", 2, keep);
    node_bn* other = NewNode_bn("B", 2, keep);
    b.list = NewNodeList2_bn(0, keep);
    nodelist_bn* wiggle = nodeList(keep, {other});
    b.sensv = NewSensvToFinding_bn(b.node, wiggle, ENTROPY_SENSV);
    nodelist_bn* tested = nodeList(keep, {b.node});
    b.tester = NewNetTester_bn(tested, tested, -1);
    b.report = NewError_vq(env, 1, NOTICE_ERR, "a record to delete");
    b.stream = NewMemoryStream_vq("gone", env, nullptr);
    b.rand = NewRandomGenerator_vq("1", env, nullptr);
    b.cases = NewCaseset_cs("gone", env);
    b.learner = NewLearner_bn(COUNTING_LEARNING, nullptr, env);
    EXPECT_TRUE(b.net && b.node && b.list && b.sensv && b.tester && b.report && b.stream && b.rand &&
                b.cases && b.learner);
    DeleteSensvToFinding_bn(b.sensv);
    DeleteNetTester_bn(b.tester);
    DeleteNodeList_bn(b.list);
    DeleteNode_bn(b.node);
    DeleteNet_bn(b.net);
    ClearError_vq(b.report);
    DeleteStream_vq(b.stream);
    DeleteRandomGen_vq(b.rand);
    DeleteCaseset_cs(b.cases);
    DeleteLearner_bn(b.learner);
    EXPECT_EQ(errorCount(NOTICE_ERR), 0) << lastMessage(NOTICE_ERR);
    return b;
  }
};

TEST_F(ApiBadHandlesTest, every_header_function_has_an_entry) {
  std::set<std::string> covered(WITHOUT_HANDLES);
  for (const Call& c : CALLS) covered.insert(c.name);
  const std::set<std::string> declared = headerFunctions();
  ASSERT_GT(declared.size(), 150u) << "the header was not read";
  for (const std::string& name : declared) EXPECT_TRUE(covered.count(name)) << name << " is not called here";
  for (const std::string& name : covered) EXPECT_TRUE(declared.count(name)) << name << " is not in the header";
}

TEST_F(ApiBadHandlesTest, every_function_refuses_null_and_deleted_handles_at_every_checking_level) {
  char text[1024] = "";
  Bad null;
  null.text = text;
  Bad deleted = deletedHandles();
  deleted.text = text;
  for (int level : {QUICK_CHECK, REGULAR_CHECK, COMPLETE_CHECK}) {
    for (const Bad* bad : {&null, &deleted}) {
      SCOPED_TRACE(std::string(bad == &null ? "null" : "deleted") + " handles at level " + std::to_string(level));
      for (const Call& c : CALLS) {
        if (NULL_ALLOWED.count(c.name)) continue;
        ArgumentChecking_vq(level, env);
        ClearErrors_vq(env, INTERNAL_ERR);
        EXPECT_TRUE(c.call(*bad)) << c.name << " did not return its failure value";
        if (!UNRECORDED.count(c.name)) {
          // The refusal is the handle's (null, wrong type or deleted), not some later argument's.
          report_vq* e = lastError();
          ASSERT_NE(e, nullptr) << c.name << " left no error record";
          EXPECT_TRUE(std::set<int>({5105, 5144, 5184}).count(ErrorNumber_vq(e)))
              << c.name << " refused with " << ErrorNumber_vq(e) << ": " << ErrorMessage_vq(e);
        }
      }
    }
  }
  ArgumentChecking_vq(REGULAR_CHECK, env);
  ClearErrors_vq(env, INTERNAL_ERR);
}

}  // namespace
