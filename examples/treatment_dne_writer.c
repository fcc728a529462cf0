/* treatment_dne_writer: makes the two decision nets examples/treat.dne and examples/test_treat.dne.
 *
 * treat.dne, one decision: a disease (present in 10% of patients) and a test for it (positive
 * for 90% of the sick and 20% of the healthy).  The doctor sees the test result and decides
 * whether to treat; the patient's health is worth 100 healthy and untreated, 90 healthy and
 * treated (side effects), 80 sick and treated, 0 sick and untreated.
 *
 * test_treat.dne, two decisions: the same, but first the doctor decides whether to run the test
 * at all (it costs 5); the result is "none" when it is not run.  The treat decision sees the
 * result; under "no forgetting" it also knows whether the test was run.
 *
 *   treatment_dne_writer [DIR]     (default: examples)
 *
 * Exits with 0 when both files were written, 1 otherwise (the engine's records on stderr). */
#include <stdio.h>

#include "Quorva.h"

static int report(environ_vq* env) {
  int failed = 0;
  for (const report_vq* r = GetError_vq(env, WARNING_ERR, NULL); r; r = GetError_vq(env, WARNING_ERR, r)) {
    fprintf(stderr, "treatment_dne_writer: %d: %s\n", ErrorNumber_vq(r), ErrorDisplayMessage_vq(r));
    failed = failed || ErrorSeverity_vq(r) >= ERROR_ERR;
  }
  return failed;
}

static node_bn* node(net_bn* net, const char* name, int states, const char* names, nodekind_bn kind) {
  node_bn* n = NewNode_bn(name, states, net);
  if (names) SetNodeStateNames_bn(n, names);
  SetNodeKind_bn(n, kind);
  return n;
}

/* Disease, its utility for the patient's health, and the treat decision (whose parents the
 * caller links). */
static node_bn* disease(net_bn* net) {
  node_bn* d = node(net, "Disease", 2, "present,absent", NATURE_NODE);
  const prob_bn prior[] = {0.1f, 0.9f};
  SetNodeProbs_bn(d, NULL, prior);
  return d;
}

static void health(net_bn* net, node_bn* dis, node_bn* treat) {
  node_bn* u = node(net, "Health", 0, NULL, UTILITY_NODE);
  AddLink_bn(dis, u);
  AddLink_bn(treat, u);
  const double worth[2][2] = {{80, 0}, {90, 100}}; /* [Disease][Treat] */
  for (state_bn s = 0; s < 2; ++s)
    for (state_bn t = 0; t < 2; ++t) {
      state_bn ps[2] = {s, t};
      SetNodeFuncReal_bn(u, ps, worth[s][t]);
    }
}

static int write(net_bn* net, environ_vq* env, const char* dir, const char* file) {
  char path[1024];
  snprintf(path, sizeof path, "%s/%s", dir, file);
  stream_vq* s = NewFileStream_vq(path, env, NULL);
  WriteNet_bn(net, s);
  DeleteStream_vq(s);
  return report(env);
}

static int treatNet(environ_vq* env, const char* dir) {
  net_bn* net = NewNet_bn("Treat", env);
  SetNetTitle_bn(net, "Treat or not, knowing a test result");
  node_bn* dis = disease(net);
  node_bn* test = node(net, "Test", 2, "positive,negative", NATURE_NODE);
  AddLink_bn(dis, test);
  const prob_bn present[] = {0.9f, 0.1f}, absent[] = {0.2f, 0.8f};
  state_bn ps = 0;
  SetNodeProbs_bn(test, &ps, present);
  ps = 1;
  SetNodeProbs_bn(test, &ps, absent);
  node_bn* treat = node(net, "Treat", 2, "treat,dont", DECISION_NODE);
  AddLink_bn(test, treat);
  health(net, dis, treat);
  int failed = write(net, env, dir, "treat.dne");
  DeleteNet_bn(net);
  return failed;
}

static int testTreatNet(environ_vq* env, const char* dir) {
  net_bn* net = NewNet_bn("TestTreat", env);
  SetNetTitle_bn(net, "Test or not, then treat or not");
  node_bn* dis = disease(net);
  node_bn* run = node(net, "RunTest", 2, "run,skip", DECISION_NODE);
  node_bn* result = node(net, "Result", 3, "positive,negative,none", NATURE_NODE);
  AddLink_bn(dis, result);
  AddLink_bn(run, result);
  const prob_bn rows[4][3] = {{0.9f, 0.1f, 0}, {0, 0, 1}, {0.2f, 0.8f, 0}, {0, 0, 1}}; /* [Disease][RunTest] */
  for (state_bn s = 0; s < 2; ++s)
    for (state_bn r = 0; r < 2; ++r) {
      state_bn ps[2] = {s, r};
      SetNodeProbs_bn(result, ps, rows[2 * s + r]);
    }
  node_bn* treat = node(net, "Treat", 2, "treat,dont", DECISION_NODE);
  AddLink_bn(result, treat);
  health(net, dis, treat);
  node_bn* cost = node(net, "TestCost", 0, NULL, UTILITY_NODE);
  AddLink_bn(run, cost);
  for (state_bn r = 0; r < 2; ++r) SetNodeFuncReal_bn(cost, &r, r == 0 ? -5 : 0);
  int failed = write(net, env, dir, "test_treat.dne");
  DeleteNet_bn(net);
  return failed;
}

int main(int argc, char** argv) {
  const char* dir = argc > 1 ? argv[1] : "examples";
  environ_vq* env = NewQuorvaEnviron_vq(NULL, NULL, NULL);
  if (env == NULL || InitQuorva2_bn(env, NULL) < 0) return 1;
  int failed = treatNet(env, dir) || testTreatNet(env, dir);
  CloseQuorva_bn(env, NULL);
  return failed ? 1 : 0;
}
