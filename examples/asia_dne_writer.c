/* asia_dne_writer: makes examples/asia.dne, the DNET form of the "Asia" chest-clinic net, from
 * examples/asia.bif.  It reads the BIF file, gives the net, its nodes and their states titles and
 * comments that say what they mean, and writes the net back as DNET through the engine's writer.
 *
 *   asia_dne_writer [IN.bif [OUT.dne]]     (defaults: examples/asia.bif examples/asia.dne)
 *
 * Exits with 0 when the file was written, 1 otherwise (the engine's records on stderr). */
#include <stdio.h>

#include "Quorva.h"

struct NodeText {
  const char* name;
  const char* title;
  const char* state_titles[2];
  const char* comment;
};

static const struct NodeText nodes[] = {
    {"visit_to_Asia", "Visit to Asia", {"visited", "not visited"},
     "Whether the patient has recently been to Asia, where tuberculosis is more common (1 patient in 100 has been)."},
    {"tuberculosis", "Tuberculosis", {"present", "absent"},
     "Tuberculosis: 5% after a visit to Asia, 1% otherwise."},
    {"tuberculos_or_cancer", "Tuberculosis or lung cancer", {"true", "false"},
     "True exactly when tuberculosis or lung cancer is present (a deterministic node): either one "
     "shows on the X-ray and causes shortness of breath alike."},
    {"positive_XraY", "Chest X-ray", {"abnormal", "normal"},
     "The chest X-ray: abnormal in 98% of patients with tuberculosis or lung cancer, and in 5% of the others."},
    {"lung_cancer", "Lung cancer", {"present", "absent"},
     "Lung cancer: 10% of smokers, 1% of non-smokers."},
    {"smoking", "Smoker", {"smoker", "non-smoker"},
     "Whether the patient smokes; half the patients of the clinic do."},
    {"bronchitis", "Bronchitis", {"present", "absent"},
     "Bronchitis: 60% of smokers, 30% of non-smokers."},
    {"dyspnoea", "Shortness of breath (dyspnoea)", {"present", "absent"},
     "Shortness of breath, caused by bronchitis and by tuberculosis or lung cancer: 90% with both, "
     "80% with bronchitis only, 70% with tuberculosis or cancer only, 10% with neither."},
};

static int report(environ_vq* env) {
  int bad = 0;
  const report_vq* r;
  for (r = GetError_vq(env, WARNING_ERR, NULL); r != NULL; r = GetError_vq(env, WARNING_ERR, r)) {
    fprintf(stderr, "asia_dne_writer: error %d: %s\n", ErrorNumber_vq(r), ErrorDisplayMessage_vq(r));
    bad = 1;
  }
  return bad;
}

int main(int argc, char** argv) {
  const char* in = argc > 1 ? argv[1] : "examples/asia.bif";
  const char* out = argc > 2 ? argv[2] : "examples/asia.dne";
  environ_vq* env = NewQuorvaEnviron_vq(NULL, NULL, NULL);
  stream_vq* stream;
  net_bn* net;
  size_t i;
  int s, bad;
  if (env == NULL || InitQuorva2_bn(env, NULL) < 0) return 1;
  stream = NewFileStream_vq(in, env, NULL);
  net = ReadNet_bn(stream, NO_VISUAL_INFO);
  DeleteStream_vq(stream);
  if (net == NULL) {
    report(env);
    CloseQuorva_bn(env, NULL);
    return 1;
  }
  SetNetTitle_bn(net, "Chest clinic (Asia)");
  SetNetComment_bn(net,
                   "A small made-up diagnosis net: a patient comes to a chest clinic short of breath.  The "
                   "patient may have tuberculosis, lung cancer or bronchitis (or several, or none); a visit to "
                   "Asia makes tuberculosis more likely, smoking makes lung cancer and bronchitis more likely.  "
                   "A chest X-ray cannot tell tuberculosis from cancer.  Enter what is known (smoker? X-ray?) "
                   "and read how likely each disease is, e.g.\n"
                   "    quorva beliefs examples/asia.dne -f smoking=f1 -f positive_XraY=d1\n"
                   "The states keep the short names of the BIF file (a1, b1, ...); their titles say what they mean.");
  for (i = 0; i < sizeof nodes / sizeof nodes[0]; ++i) {
    node_bn* node = GetNodeNamed_bn(nodes[i].name, net);
    if (node == NULL) {
      fprintf(stderr, "asia_dne_writer: %s has no node %s\n", in, nodes[i].name);
      CloseQuorva_bn(env, NULL);
      return 1;
    }
    SetNodeTitle_bn(node, nodes[i].title);
    SetNodeComment_bn(node, nodes[i].comment);
    for (s = 0; s < 2; ++s) SetNodeStateTitle_bn(node, s, nodes[i].state_titles[s]);
  }
  stream = NewFileStream_vq(out, env, NULL);
  WriteNet_bn(net, stream);
  DeleteStream_vq(stream);
  bad = report(env);
  CloseQuorva_bn(env, NULL);
  return bad;
}
