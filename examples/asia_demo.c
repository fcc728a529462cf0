/* asia_demo: builds the 8-node "Asia" chest-clinic belief net through the Quorva C API, prints
 * every node with its states and parents, then shows how the engine reports trouble:
 *   - a refused call (a second node named "Smoking") leaves an ERROR_ERR record;
 *   - a link that closes a cycle (Dyspnea -> Smoking) is made, but leaves a WARNING_ERR record,
 *     and is then deleted again.
 * It exits with 0 only when every call behaved and every expected record was there. */
#include <stdio.h>
#include <string.h>

#include "Quorva.h"

#define NUM_NODES 8

static const char* const node_names[NUM_NODES] = {"VisitAsia", "Tuberculosis", "Smoking", "Cancer",
                                                  "TbOrCa",    "XRay",         "Bronchitis", "Dyspnea"};
static const char* const state_names[NUM_NODES] = {
    "visit,no_visit", "present,absent", "smoker,nonsmoker", "present,absent",
    "true,false",     "abnormal,normal", "present,absent",  "present,absent"};

/* Parent -> child, by index into node_names. */
static const int links[][2] = {{0, 1}, {2, 3}, {2, 6}, {1, 4}, {3, 4}, {4, 5}, {4, 7}, {6, 7}};
#define NUM_LINKS ((int)(sizeof links / sizeof links[0]))

static int failures = 0;

static void fail(const char* what) {
  fprintf(stderr, "asia_demo: UNEXPECTED: %s\n", what);
  ++failures;
}

static const char* severity_name(errseverity_vq sev) {
  switch (sev) {
    case NOTHING_ERR: return "NOTHING_ERR";
    case FALSE_ALERT_ERR: return "FALSE_ALERT_ERR";
    case REPORT_ERR: return "REPORT_ERR";
    case NOTICE_ERR: return "NOTICE_ERR";
    case WARNING_ERR: return "WARNING_ERR";
    case ERROR_ERR: return "ERROR_ERR";
    case INTERNAL_ERR: return "INTERNAL_ERR";
  }
  return "?";
}

static void print_record(const char* label, const report_vq* rec) {
  printf("%s: error %d, %s\n  %s\n", label, ErrorNumber_vq(rec), severity_name(ErrorSeverity_vq(rec)),
         ErrorDisplayMessage_vq(rec));
}

/* Reports (and counts as failures) any record of at least `severity` left by the calls so far. */
static void expect_no_record(environ_vq* env, errseverity_vq severity, const char* after_what) {
  const report_vq* rec;
  for (rec = GetError_vq(env, severity, NULL); rec != NULL; rec = GetError_vq(env, severity, rec)) {
    fprintf(stderr, "asia_demo: record after %s: ", after_what);
    fprintf(stderr, "error %d, %s: %s\n", ErrorNumber_vq(rec), severity_name(ErrorSeverity_vq(rec)),
            ErrorDisplayMessage_vq(rec));
    ++failures;
  }
}

static void print_net(const net_bn* net) {
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  int n = LengthNodeList_bn(nodes);
  int i, s, p;
  printf("Net %s, %d nodes:\n", GetNetName_bn(net), n);
  for (i = 0; i < n; ++i) {
    const node_bn* node = GetNthNode_bn(nodes, i);
    const nodelist_bn* parents = GetNodeParents_bn(node);
    int num_states = GetNodeNumberStates_bn(node);
    int num_parents = LengthNodeList_bn(parents);
    char states[4 * (NAME_MAX_vq + 2)] = "";
    for (s = 0; s < num_states && s < 4; ++s) {
      if (s) strcat(states, ", ");
      strcat(states, GetNodeStateName_bn(node, s));
    }
    printf("  %-12s states: %-20s parents:", GetNodeName_bn(node), states);
    if (num_parents == 0) printf(" (none)");
    for (p = 0; p < num_parents; ++p)
      printf("%s%s", p ? ", " : " ", GetNodeName_bn(GetNthNode_bn(parents, p)));
    printf("\n");
  }
}

int main(void) {
  char mesg[MESG_LEN_vq];
  environ_vq* env;
  net_bn* net;
  node_bn* nodes[NUM_NODES];
  node_bn* dup;
  const report_vq* rec;
  int i, link_index;

  env = NewQuorvaEnviron_vq(NULL, NULL, NULL);
  if (env == NULL) {
    fprintf(stderr, "asia_demo: could not create an environment\n");
    return 1;
  }
  mesg[0] = '\0';
  if (InitQuorva2_bn(env, mesg) < 0) {
    fprintf(stderr, "asia_demo: initialisation failed: %s\n", mesg);
    return 1;
  }
  printf("%s\n\n", mesg);

  /* Build the net. */
  net = NewNet_bn("ChestClinic", env);
  if (net == NULL) {
    expect_no_record(env, NOTHING_ERR, "NewNet_bn");
    fail("NewNet_bn returned NULL");
    CloseQuorva_bn(env, NULL);
    return 1;
  }
  for (i = 0; i < NUM_NODES; ++i) {
    nodes[i] = NewNode_bn(node_names[i], 2, net);
    if (nodes[i] == NULL) {
      expect_no_record(env, NOTHING_ERR, "NewNode_bn");
      fail("NewNode_bn returned NULL");
      CloseQuorva_bn(env, NULL);
      return 1;
    }
    SetNodeStateNames_bn(nodes[i], state_names[i]);
  }
  for (i = 0; i < NUM_LINKS; ++i) {
    if (AddLink_bn(nodes[links[i][0]], nodes[links[i][1]]) < 0) fail("AddLink_bn refused a link of the Asia net");
  }
  expect_no_record(env, WARNING_ERR, "building the net");

  print_net(net);
  if (LengthNodeList_bn(GetNetNodes_bn(net)) != NUM_NODES) fail("the net does not have 8 nodes");
  if (strcmp(GetNodeStateName_bn(nodes[2], 1), "nonsmoker") != 0) fail("Smoking's state 1 is not 'nonsmoker'");
  if (LengthNodeList_bn(GetNodeParents_bn(nodes[7])) != 2) fail("Dyspnea does not have 2 parents");
  printf("\n");

  /* A refused call: the name "Smoking" is taken. */
  dup = NewNode_bn("Smoking", 2, net);
  if (dup != NULL) fail("NewNode_bn accepted a second node named Smoking");
  rec = GetError_vq(env, ERROR_ERR, NULL);
  if (rec == NULL)
    fail("no ERROR_ERR record after the refused NewNode_bn");
  else
    print_record("NewNode_bn(\"Smoking\") was refused", rec);
  if (LengthNodeList_bn(GetNetNodes_bn(net)) != NUM_NODES) fail("the refused call changed the net");
  printf("\n");

  /* A link that closes a cycle Smoking -> Bronchitis -> Dyspnea -> Smoking: made, with a warning. */
  link_index = AddLink_bn(nodes[7], nodes[2]);
  if (link_index < 0) fail("AddLink_bn(Dyspnea, Smoking) was refused; it should be made with a warning");
  for (rec = GetError_vq(env, WARNING_ERR, NULL); rec != NULL; rec = GetError_vq(env, WARNING_ERR, rec))
    if (ErrorSeverity_vq(rec) == WARNING_ERR) break;
  if (rec == NULL)
    fail("no WARNING_ERR record after AddLink_bn(Dyspnea, Smoking)");
  else
    print_record("AddLink_bn(Dyspnea, Smoking) closed a cycle", rec);
  if (link_index >= 0) {
    DeleteLink_bn(link_index, nodes[2]);
    printf("Deleted the link again; Smoking has %d parents.\n", LengthNodeList_bn(GetNodeParents_bn(nodes[2])));
    if (LengthNodeList_bn(GetNodeParents_bn(nodes[2])) != 0) fail("DeleteLink_bn left a parent on Smoking");
  }

  /* Clear the records we looked at; nothing of warning level or above should remain. */
  ClearErrors_vq(env, ERROR_ERR);
  expect_no_record(env, WARNING_ERR, "ClearErrors_vq");

  DeleteNet_bn(net);
  mesg[0] = '\0';
  if (CloseQuorva_bn(env, mesg) < 0) fail("CloseQuorva_bn failed");
  printf("\n%s\n", mesg);

  if (failures != 0) {
    fprintf(stderr, "asia_demo: %d unexpected result(s)\n", failures);
    return 1;
  }
  return 0;
}
