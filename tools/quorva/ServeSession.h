// The net that `quorva serve` shows, and the answers of its JSON interface.  One net, one lock:
// every request takes the lock for the whole of its work, so requests from many threads see the
// net one change at a time.  Each answer is a status and a JSON text; a refusal is
//   {"error": {"number": N, "message": M}}
// with the engine's error number and message (number 0: a request the server itself cannot read,
// such as malformed JSON or a node the net does not have), and leaves the net as it was.
#pragma once
#include <mutex>
#include <string>

#include "Engine.h"

namespace quorva::cli {

struct ServeReply {
  int status = 200;
  std::string body;
};

class ServeSession {
 public:
  // `net` is read, its missing tables built and compiled (and laid out when its file gives no
  // positions); `path` is the file it came from, written back with the nodes' new positions when
  // `save`, in `format`.
  ServeSession(Env& env, net_bn* net, std::string path, NetFormat format, bool save);

  // GET /api/net: {"name", "title", "nodes": [{"name", "title", "kind", "states", "parents",
  // "position": [x, y], "comment", "equation", "table"}...]}
  ServeReply net();
  // GET /api/beliefs: {"findings_probability", "findings": {NODE: STATE}, "beliefs": {NODE: [B...]},
  // "expected_utilities": {DECISION: [U...]}, "expected_utility"}
  ServeReply beliefs();
  // POST /api/findings {"NODE": "STATE" | index | null, ...}: all entered, or none.
  ServeReply enter(const std::string& body);
  // DELETE /api/findings: every finding retracted.
  ServeReply retractAll();
  // POST /api/positions {"NODE": [x, y], ...}: all moved (and saved, with --save), or none.
  ServeReply move(const std::string& body);

 private:
  Env& env_;
  net_bn* net_;
  std::string path_;
  NetFormat format_;
  bool save_;
  std::mutex lock_;

  // The calling thread's first error record as a refusal with `status` (the records are cleared).
  ServeReply engineError(int status, const std::string& otherwise);
  // Writes the net through a temporary file renamed over `path_`; "" or what went wrong.
  std::string saveNet();
  std::string beliefsText();
};

// A refusal of the server's own: {"error": {"number": 0, "message": MESSAGE}}.
ServeReply serveRefusal(int status, const std::string& message);

}  // namespace quorva::cli
