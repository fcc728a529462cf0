/* commute_eqn_writer: makes examples/commute.dne, a small net modelled with equations.
 *
 * A morning commute.  Rain and road works make congestion likely (a noisy-or); congestion
 * delays the traffic by a number of minutes that follows a gamma distribution; the trip takes
 * 20 minutes plus that delay (a deterministic function of a continuous parent); the commuter is
 * late when the trip takes more than 35 minutes.  Delay and TripTime are continuous nodes
 * discretized into intervals, so their tables are built by sampling inside the intervals.
 *
 * Every node gets its equation, then its table from the equation (EquationToTable_bn), and the
 * net is written as DNET: equations and tables both, so that the file can be used at once and
 * its tables rebuilt with `quorva tables`.
 *
 *   commute_eqn_writer [OUT.dne]     (default: examples/commute.dne)
 *
 * Exits with 0 when the file was written, 1 otherwise (the engine's records on stderr). */
#include <math.h>
#include <stdio.h>

#include "Quorva.h"

static int report(environ_vq* env) {
  int failed = 0;
  for (const report_vq* r = GetError_vq(env, WARNING_ERR, NULL); r; r = GetError_vq(env, WARNING_ERR, r)) {
    fprintf(stderr, "commute_eqn_writer: %d: %s\n", ErrorNumber_vq(r), ErrorDisplayMessage_vq(r));
    failed = failed || ErrorSeverity_vq(r) >= ERROR_ERR;
  }
  return failed;
}

static node_bn* discrete(net_bn* net, const char* name, const char* states, const char* title) {
  node_bn* node = NewNode_bn(name, 2, net);
  SetNodeStateNames_bn(node, states);
  SetNodeTitle_bn(node, title);
  return node;
}

static node_bn* continuous(net_bn* net, const char* name, int intervals, const level_bn* bounds, const char* title) {
  node_bn* node = NewNode_bn(name, 0, net);
  SetNodeLevels_bn(node, intervals, bounds);
  SetNodeTitle_bn(node, title);
  return node;
}

int main(int argc, char** argv) {
  const char* out = argc > 1 ? argv[1] : "examples/commute.dne";
  environ_vq* env = NewQuorvaEnviron_vq(NULL, NULL, NULL);
  if (env == NULL || InitQuorva2_bn(env, NULL) < 0) return 1;
  net_bn* net = NewNet_bn("Commute", env);
  SetNetTitle_bn(net, "Morning commute, modelled with equations");
  SetNetComment_bn(net,
                   "Rain and road works make congestion likely (a noisy-or); congestion delays the traffic by "
                   "a gamma-distributed number of minutes; the trip takes 20 minutes plus the delay, and the "
                   "commuter is late past 35 minutes.  Try\n"
                   "    quorva beliefs examples/commute.dne -f Rain=true\n"
                   "    quorva tables examples/commute.dne -o commute.dne --samples 50000 --seed 3");

  node_bn* rain = discrete(net, "Rain", "false,true", "Rain this morning");
  node_bn* works = discrete(net, "RoadWorks", "false,true", "Road works on the way");
  node_bn* congested = discrete(net, "Congestion", "false,true", "Congested roads");
  const level_bn delayBounds[] = {0, 5, 10, 20, INFINITY};
  node_bn* delay = continuous(net, "Delay", 4, delayBounds, "Delay in traffic (minutes)");
  const level_bn tripBounds[] = {0, 25, 30, 35, 45, INFINITY};
  node_bn* trip = continuous(net, "TripTime", 5, tripBounds, "Door-to-door time (minutes)");
  node_bn* late = discrete(net, "Late", "false,true", "Late for work");
  AddLink_bn(rain, congested);
  AddLink_bn(works, congested);
  AddLink_bn(congested, delay);
  AddLink_bn(delay, trip);
  AddLink_bn(trip, late);

  SetNodeEquation_bn(rain, "P (Rain) = 0.3");
  SetNodeEquation_bn(works, "P (RoadWorks) = 0.1");
  /* Each cause alone congests the roads with its own probability; 5% congestion without either. */
  SetNodeEquation_bn(congested, "P (Congestion | Rain, RoadWorks) = NoisyOrDist (Congestion, 0.05, Rain, 0.4, RoadWorks, 0.6)");
  /* Gamma delays: mean 2 minutes on clear roads, 12 when congested. */
  SetNodeEquation_bn(delay, "P (Delay | Congestion) = GammaDist (Delay, Congestion ? 3 : 1, Congestion ? 4 : 2)");
  SetNodeEquation_bn(trip, "TripTime (Delay) = 20 + Delay");
  SetNodeEquation_bn(late, "Late (TripTime) = TripTime > 35");
  SetNodeComment_bn(late, "Late exactly when the trip takes more than 35 minutes.");

  const nodelist_bn* nodes = GetNetNodes_bn(net);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) EquationToTable_bn(GetNthNode_bn(nodes, i), 20000, 0, 0);

  stream_vq* file = NewFileStream_vq(out, env, NULL);
  WriteNet_bn(net, file);
  DeleteStream_vq(file);
  int failed = report(env);
  CloseQuorva_bn(env, NULL);
  return failed;
}
