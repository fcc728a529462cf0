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
// type, strings "A", numbers 0 (enums 1), arrays and out arguments a buffer of zeros.  RET calls
// must return their failure value; NORET calls return nothing, so only their record is checked.
#define RET(f, ...) {#f, []([[maybe_unused]] const Bad& b) { return failed(f(__VA_ARGS__)); }}
#define NORET(f, ...) {#f, []([[maybe_unused]] const Bad& b) { f(__VA_ARGS__); return true; }}
const Call CALLS[] = {
    RET(NewQuorvaEnviron_vq, "A", b.env, "A"), RET(InitQuorva2_bn, b.env, b.text), RET(CloseQuorva_bn, b.env, b.text),
    RET(GetQuorvaVersion_bn, b.env, &b.str), RET(ArgumentChecking_vq, 0, b.env), RET(LimitMemoryUsage_vq, 0, b.env),
    RET(SetLanguage_vq, b.env, "A"), RET(ControlConcurrency_vq, b.env, "A", "A"), RET(TestFaultRecovery_vq, b.env, 0),
    RET(GetError_vq, b.env, static_cast<errseverity_vq>(1), b.report), RET(ErrorNumber_vq, b.report),
    RET(ErrorMessage_vq, b.report), RET(ErrorDisplayMessage_vq, b.report), RET(ErrorSeverity_vq, b.report),
    RET(ErrorCategory_vq, static_cast<errcond_vq>(1), b.report), NORET(ClearError_vq, b.report),
    NORET(ClearErrors_vq, b.env, 0), RET(NewError_vq, b.env, 0, static_cast<errseverity_vq>(1), "A"),
    RET(NewNet_bn, "A", b.env), RET(CopyNet_bn, b.net, "A", b.env, "A"), NORET(DeleteNet_bn, b.net),
    NORET(SetNetName_bn, b.net, "A"), RET(GetNetName_bn, b.net), NORET(SetNetTitle_bn, b.net, "A"),
    RET(GetNetTitle_bn, b.net), NORET(SetNetComment_bn, b.net, "A"), RET(GetNetComment_bn, b.net),
    RET(GetNetEnviron_bn, b.net), NORET(SetNetUserField_bn, b.net, "A", nullptr, 0, 0),
    RET(GetNetUserField_bn, b.net, "A", zeros<int>(), 0),
    NORET(GetNetNthUserField_bn, b.net, 0, &b.str, &b.str, zeros<int>(), 0), RET(GetNetNodes_bn, b.net),
    RET(GetNodeNamed_bn, "A", b.net), RET(NewNode_bn, "A", 0, b.net), NORET(DeleteNode_bn, b.node),
    RET(CopyNodes_bn, b.list, b.net, "A"), NORET(SetNodeName_bn, b.node, "A"), RET(GetNodeName_bn, b.node),
    NORET(SetNodeTitle_bn, b.node, "A"), RET(GetNodeTitle_bn, b.node), NORET(SetNodeComment_bn, b.node, "A"),
    RET(GetNodeComment_bn, b.node), RET(GetNodeNet_bn, b.node), NORET(SetNodeVisPosition_bn, b.node, nullptr, 0, 0),
    NORET(GetNodeVisPosition_bn, b.node, nullptr, zeros<double>(), zeros<double>()),
    NORET(SetNodeKind_bn, b.node, static_cast<nodekind_bn>(1)), RET(GetNodeKind_bn, b.node),
    RET(GetNodeType_bn, b.node), NORET(SetNodeUserField_bn, b.node, "A", nullptr, 0, 0),
    RET(GetNodeUserField_bn, b.node, "A", zeros<int>(), 0),
    NORET(GetNodeNthUserField_bn, b.node, 0, &b.str, &b.str, zeros<int>(), 0), RET(GetNodeNumberStates_bn, b.node),
    NORET(SetNodeStateName_bn, b.node, 0, "A"), NORET(SetNodeStateNames_bn, b.node, "A"),
    RET(GetNodeStateName_bn, b.node, 0), RET(GetStateNamed_bn, "A", b.node),
    NORET(SetNodeStateTitle_bn, b.node, 0, "A"), RET(GetNodeStateTitle_bn, b.node, 0),
    NORET(SetNodeStateComment_bn, b.node, 0, "A"), RET(GetNodeStateComment_bn, b.node, 0),
    NORET(AddNodeStates_bn, b.node, 0, "A", 0, 0), NORET(RemoveNodeState_bn, b.node, 0),
    NORET(ReorderNodeStates_bn, b.node, zeros<state_bn>()), NORET(SetNodeLevels_bn, b.node, 0, zeros<level_bn>()),
    RET(GetNodeLevels_bn, b.node), RET(AddLink_bn, b.node, b.node), NORET(DeleteLink_bn, 0, b.node),
    NORET(SwitchNodeParent_bn, 0, b.node, b.node), RET(GetNodeParents_bn, b.node), RET(GetNodeChildren_bn, b.node),
    NORET(SetNodeInputName_bn, b.node, 0, "A"), RET(GetNodeInputName_bn, b.node, 0),
    RET(SetNodeInputDelay_bn, b.node, 0, 0, "A"), RET(SetNodePersistence_bn, b.node, 0, "A"),
    RET(NewNodeList2_bn, 0, b.net), NORET(DeleteNodeList_bn, b.list), RET(LengthNodeList_bn, b.list),
    RET(GetNthNode_bn, b.list, 0), NORET(AddNodeToList_bn, b.node, b.list, 0),
    NORET(SetNodeProbs_bn, b.node, zeros<state_bn>(), zeros<prob_bn>()),
    RET(GetNodeProbs_bn, b.node, zeros<state_bn>()), NORET(SetNodeFuncState_bn, b.node, zeros<state_bn>(), 0),
    NORET(SetNodeFuncReal_bn, b.node, zeros<state_bn>(), 0), RET(GetNodeFuncState_bn, b.node, zeros<state_bn>()),
    RET(GetNodeFuncReal_bn, b.node, zeros<state_bn>()), NORET(SetNodeExperience_bn, b.node, zeros<state_bn>(), 0),
    RET(GetNodeExperience_bn, b.node, zeros<state_bn>()), RET(HasNodeTable_bn, b.node, zeros<bool_vq>()),
    RET(IsNodeDeterministic_bn, b.node), NORET(DeleteNodeTables_bn, b.node),
    RET(GetNodeTable_bn, b.node, "A", zeros<state_bn>(), 0, zeros<double>(), zeros<int>()),
    NORET(SetNodeTable_bn, b.node, "A", zeros<state_bn>(), 0, zeros<double>(), 0), NORET(EnterFinding_bn, b.node, 0),
    NORET(EnterFindingNot_bn, b.node, 0), NORET(EnterAction_bn, b.node, 0), NORET(EnterActionValue_bn, b.node, 0),
    NORET(EnterActionRandomized_bn, b.node, zeros<prob_bn>()), NORET(EnterNodeValue_bn, b.node, 0),
    NORET(EnterNodeLikelihood_bn, b.node, zeros<prob_bn>()), NORET(EnterNodeCalibration_bn, b.node, zeros<prob_bn>()),
    NORET(EnterIntervalFinding_bn, b.node, 0, 0), NORET(EnterGaussianFinding_bn, b.node, 0, 0),
    RET(GetNodeFinding_bn, b.node), RET(GetNodeValueEntered_bn, b.node), RET(GetNodeLikelihood_bn, b.node),
    NORET(RetractNodeFindings_bn, b.node), NORET(RetractNetFindings_bn, b.net), RET(SetNetAutoUpdate_bn, b.net, 0),
    RET(IsBeliefUpdated_bn, b.node), NORET(AddNetListener_bn, b.net, nullptr, nullptr, 0),
    NORET(AddNodeListener_bn, b.node, nullptr, nullptr, 0), RET(RemoveNthNode_bn, b.list, 0),
    NORET(SetNthNode_bn, b.list, 0, b.node), RET(IndexOfNodeInList_bn, b.node, b.list, 0),
    RET(DupNodeList_bn, b.list), NORET(ClearNodeList_bn, b.list), NORET(AddNodeToNodeset_bn, b.node, "A"),
    NORET(RemoveNodeFromNodeset_bn, b.node, "A"), RET(IsNodeInNodeset_bn, b.node, "A"),
    RET(GetAllNodesets_bn, b.net, 0, nullptr), NORET(ReorderNodesets_bn, b.net, "A", nullptr),
    RET(SetNodesetColor_bn, "A", 0, b.net, nullptr), RET(NewRandomGenerator_vq, "A", b.env, "A"),
    RET(GetRandomGenState_vq, b.rand, "A"), RET(GenerateRandomNumbers_vq, b.rand, zeros<double>(), 0, "A"),
    NORET(DeleteRandomGen_vq, b.rand), NORET(SetNetRandomGen_bn, b.net, b.rand, 0),
    RET(GenerateRandomCase_bn, b.list, static_cast<sampling_bn>(1), 0, b.rand), NORET(CompileNet_bn, b.net),
    NORET(UncompileNet_bn, b.net), RET(SizeCompiledNet_bn, b.net, 0), RET(ReportJunctionTree_bn, b.net),
    NORET(SetNetElimOrder_bn, b.net, b.list), RET(GetNetElimOrder_bn, b.net), RET(GetNodeBeliefs_bn, b.node),
    RET(FindingsProbability_bn, b.net),
    RET(GetNodeExpectedValue_bn, b.node, zeros<double>(), zeros<double>(), zeros<double>()),
    NORET(MostProbableConfig_bn, b.list, zeros<state_bn>(), 0), RET(JointProbability_bn, b.list, zeros<state_bn>()),
    RET(GetJointProbability_bn, b.list, zeros<state_bn>()), RET(NewFileStream_vq, "A", b.env, "A"),
    RET(NewMemoryStream_vq, "A", b.env, "A"), NORET(SetStreamContents_vq, b.stream, "A", 0, 0),
    RET(GetStreamContents_vq, b.stream, zeros<long long>()), NORET(DeleteStream_vq, b.stream),
    NORET(SetStreamPassword_vq, b.stream, "A"), NORET(WriteNet_bn, b.net, b.stream), RET(ReadNet_bn, b.stream, 0),
    RET(GuessNetFormat_bn, b.stream), RET(ReadNetFormat_bn, b.stream, 0, NO_VISUAL_INFO),
    NORET(WriteNetFormat_bn, b.net, b.stream, DNET_FORMAT), RET(EnterUaiEvidence_bn, b.net, b.stream),
    RET(WriteNetFindings_bn, b.list, b.stream, 0, 0),
    NORET(ReadNetFindings_bn, zeros<caseposn_bn>(), b.stream, b.list, zeros<long>(), zeros<double>()),
    NORET(ReadNetFindings2_bn, zeros<caseposn_bn>(), b.stream, 0, b.list, zeros<long>(), zeros<double>()),
    NORET(ReadNetFindings3_bn, zeros<caseposn_bn>(), b.stream, 0, b.list, static_cast<addnew_bn>(1), zeros<long>(), zeros<double>()),
    RET(SetCaseFileDelimChar_vq, 0, b.env), RET(SetMissingDataChar_vq, 0, b.env),
    RET(SetCaseFileValueForm_vq, 0, b.env), RET(NewCaseset_cs, "A", b.env),
    NORET(AddFileToCaseset_cs, b.cases, b.stream, 0, "A"), NORET(WriteCaseset_cs, b.cases, b.stream, "A"),
    NORET(DeleteCaseset_cs, b.cases), NORET(SetNodeEquation_bn, b.node, "A"), RET(GetNodeEquation_bn, b.node),
    NORET(EquationToTable_bn, b.node, 0, 0, 0), RET(NewSensvToFinding_bn, b.node, b.list, 0),
    NORET(DeleteSensvToFinding_bn, b.sensv), RET(GetSensvMutualInfo_bn, b.sensv, b.node),
    RET(GetSensvVarianceReduction_bn, b.sensv, b.node), RET(GetSensvBeliefVariance_bn, b.sensv, b.node),
    RET(GetSensvRealMean_bn, b.sensv, b.node, 0), RET(GetSensvRatio_bn, b.sensv, b.node, 0, 0),
    RET(GetSensvBeliefChange_bn, b.sensv, b.node, 0), RET(GetSensvBeliefChangeVariance_bn, b.sensv, b.node, 0),
    RET(GetSensvBeliefRange_bn, b.sensv, b.node, 0, zeros<double>(), zeros<double>()),
    NORET(ReviseCPTsByFindings_bn, b.list, 0, 0), NORET(ReviseCPTsByCaseFile_bn, b.stream, b.list, 0, 0),
    NORET(FadeCPTable_bn, b.node, 0), RET(NewLearner_bn, static_cast<learn_method_bn>(1), "A", b.env),
    RET(SetLearnerMaxIters_bn, b.learner, 0), RET(SetLearnerMaxTol_bn, b.learner, 0),
    RET(SetLearnerThreads_bn, b.learner, 0), NORET(LearnCPTs_bn, b.learner, b.list, b.cases, 0),
    RET(GetLearnerIterations_bn, b.learner), RET(GetLearnerLogLikelihood_bn, b.learner, 0),
    NORET(DeleteLearner_bn, b.learner), RET(NewNetTester_bn, b.list, b.list, 0),
    NORET(TestWithCaseset_bn, b.tester, b.cases), RET(GetTestErrorRate_bn, b.tester, b.node),
    RET(GetTestLogLoss_bn, b.tester, b.node), RET(GetTestQuadraticLoss_bn, b.tester, b.node),
    RET(GetTestConfusion_bn, b.tester, b.node, 0, 0), RET(SetNetTesterThreads_bn, b.tester, 0),
    NORET(DeleteNetTester_bn, b.tester), NORET(SetNetNumUndos_bn, b.net, 0, 0, "A"),
    RET(UndoNetLastOper_vq, b.net, 0), RET(RedoNetOper_vq, b.net, 0),
    RET(GetJointBeliefs_bn, b.list, zeros<double>(), 0), RET(MostProbableJointConfig_bn, b.list, zeros<state_bn>()),
    RET(IsDSeparated_bn, b.list, b.list, b.list), RET(GetMarkovBlanket_bn, b.node), RET(GetRelevantNodes_bn, b.list),
    NORET(InterveneNode_bn, b.node, 0), RET(SetNetNoForgetting_bn, b.net, 0), RET(GetNodeExpectedUtils_bn, b.node),
    RET(GetNetExpectedUtility_bn, b.net), RET(WriteSampledCases_bn, b.net, b.stream, 0, 0, 0, "A"),
    RET(ApproxNetBeliefs_bn, b.net, static_cast<approx_method_bn>(1), 0, 0, 0, 0, zeros<double>(), zeros<double>(), 0, zeros<approx_summary_bn>()),
};
#undef RET
#undef NORET

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
