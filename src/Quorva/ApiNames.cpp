// One table of API names: each C function beside its object-API name.
#include "Quorva/ApiNames.h"

#include <cstring>

namespace quorva {

namespace {

struct ApiName {
  const char* c;
  const char* object;  // null: no counterpart in the object API
};

constexpr ApiName API_NAMES[] = {
    {"NewQuorvaEnviron_vq", "Environ.Environ"},
    {"InitQuorva2_bn", "Environ.initialize"},
    {"CloseQuorva_bn", "Environ.finalize"},
    {"GetQuorvaVersion_bn", "Environ.getVersion/getVersionString"},
    {"ArgumentChecking_vq", "Environ.g/setArgumentChecking"},
    {"LimitMemoryUsage_vq", "Environ.g/setMemoryUsageLimit"},
    {"SetLanguage_vq", "[that sets language]"},
    {"ControlConcurrency_vq", "Environ.controlConcurrency"},
    {"TestFaultRecovery_vq", nullptr},
    {"GetError_vq", "Environ.getError"},
    {"ErrorNumber_vq", "QuorvaException.getErrorNumber"},
    {"ErrorMessage_vq", "QuorvaException.getMessage"},
    {"ErrorDisplayMessage_vq", "QuorvaException.toString"},
    {"ErrorSeverity_vq", "QuorvaException.getSeverity"},
    {"ErrorCategory_vq", "QuorvaException.getCategory"},
    {"ClearError_vq", "QuorvaException.clear"},
    {"ClearErrors_vq", "Environ.clearErrors"},
    {"NewError_vq", "QuorvaException.QuorvaException"},
    {"NewNet_bn", "Net.Net"},
    {"CopyNet_bn", "Net.Net(copy)"},
    {"DeleteNet_bn", "Net.finalize"},
    {"SetNetName_bn", "Net.setName"},
    {"GetNetName_bn", "Net.getName"},
    {"SetNetTitle_bn", "Net.setTitle"},
    {"GetNetTitle_bn", "Net.getTitle"},
    {"SetNetComment_bn", "Net.setComment"},
    {"GetNetComment_bn", "Net.getComment"},
    {"GetNetEnviron_bn", "Net.getEnviron"},
    {"SetNetUserField_bn", "Net.setUserField"},
    {"GetNetUserField_bn", "Net.getUserField"},
    {"GetNetNthUserField_bn", "Net.getUserFieldName"},
    {"GetNetNodes_bn", "Net.getNodes"},
    {"GetNodeNamed_bn", "Net.getNode"},
    {"NewNode_bn", "Node.Node"},
    {"DeleteNode_bn", "Node.finalize"},
    {"CopyNodes_bn", "Net.copyNodes"},
    {"SetNodeName_bn", "Node.setName"},
    {"GetNodeName_bn", "Node.getName"},
    {"SetNodeTitle_bn", "Node.setTitle"},
    {"GetNodeTitle_bn", "Node.getTitle"},
    {"SetNodeComment_bn", "Node.setComment"},
    {"GetNodeComment_bn", "Node.getComment"},
    {"GetNodeNet_bn", "Node.getNet"},
    {"SetNodeKind_bn", "Node.setKind"},
    {"GetNodeKind_bn", "Node.getKind"},
    {"GetNodeType_bn", "Node.getType"},
    {"SetNodeUserField_bn", "Node.setUserField"},
    {"GetNodeUserField_bn", "Node.getUserField"},
    {"GetNodeNthUserField_bn", "Node.getUserFieldName"},
    {"GetNodeNumberStates_bn", "Node.getNumStates"},
    {"SetNodeStateName_bn", "State.setName"},
    {"SetNodeStateNames_bn", "Node.setStateNames"},
    {"GetNodeStateName_bn", "State.getName"},
    {"GetStateNamed_bn", "Node.state"},
    {"SetNodeStateTitle_bn", "State.setTitle"},
    {"GetNodeStateTitle_bn", "State.getTitle"},
    {"SetNodeStateComment_bn", "State.setComment"},
    {"GetNodeStateComment_bn", "State.getComment"},
    {"AddNodeStates_bn", "Node.addStates"},
    {"RemoveNodeState_bn", "Node.removeState"},
    {"ReorderNodeStates_bn", "Node.reorderStates"},
    {"SetNodeLevels_bn", "Node.setLevels"},
    {"GetNodeLevels_bn", "Node.getLevels"},
    {"AddLink_bn", "Node.addLink"},
    {"DeleteLink_bn", "Node.deleteLink"},
    {"SwitchNodeParent_bn", "Node.switchParent"},
    {"GetNodeParents_bn", "Node.getParents"},
    {"GetNodeChildren_bn", "Node.getChildren"},
    {"SetNodeInputName_bn", "Node.setInputName"},
    {"GetNodeInputName_bn", "Node.getInputName"},
    {"SetNodeInputDelay_bn", "Node.setInputDelay"},
    {"SetNodePersistence_bn", "Node.setPersistence"},
    {"NewNodeList2_bn", "NodeList.NodeList"},
    {"DeleteNodeList_bn", "NodeList.finalize"},
    {"LengthNodeList_bn", "NodeList.size"},
    {"GetNthNode_bn", "NodeList.get"},
    {"AddNodeToList_bn", "NodeList.add"},
};

}  // namespace

bool isKnownLanguage(const std::string& language) {
  return language == "C" || language == "Java" || language == "C#";
}

std::string apiNameIn(const std::string& language, const std::string& cName) {
  if (language == "C") return cName;
  for (const ApiName& n : API_NAMES)
    if (cName == n.c) return n.object ? n.object : "[undef " + cName + "]";
  return "[undef " + cName + "]";
}

}  // namespace quorva
