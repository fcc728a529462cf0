// quorva serve NET [--port P] [--host H] [--save]: the net in a web page on a local server.
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <thread>

#include "Commands.h"
#include "ServeFiles.h"
#include "ServeNetView.h"
#include "ServeSession.h"

namespace quorva::cli {

namespace {

struct ServeOptions {
  std::string net;
  std::string host = "127.0.0.1";
  int port = 8080;
  bool save = false;
};

void onStop(int) { haltAll(); }

// The time the server spent on the request, for the page and the benchmark.
void answer(httplib::Response& res, const ServeReply& reply, std::chrono::steady_clock::time_point start) {
  const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  res.status = reply.status;
  res.set_header("Server-Timing", "app;dur=" + std::to_string(ms));
  res.set_header("Cache-Control", "no-store");
  res.set_content(reply.body, "application/json");
}

void route(httplib::Server& server, ServeSession& session) {
  using Request = const httplib::Request&;
  using Response = httplib::Response&;
  auto timed = [](auto work) {
    return [work](Request req, Response res) {
      const auto start = std::chrono::steady_clock::now();
      answer(res, work(req), start);
    };
  };
  server.Get("/api/net", timed([&session](Request) { return session.net(); }));
  server.Get("/api/beliefs", timed([&session](Request) { return session.beliefs(); }));
  server.Post("/api/findings", timed([&session](Request req) { return session.enter(req.body); }));
  server.Delete("/api/findings", timed([&session](Request) { return session.retractAll(); }));
  server.Post("/api/positions", timed([&session](Request req) { return session.move(req.body); }));
  // The page's own files, asked for by exactly their names; any other path is not found.
  server.Get(".*", [](Request req, Response res) {
    const WebFile* file = webFileAt(req.path);
    if (!file) {
      res.status = 404;
      res.set_content("not found\n", "text/plain");
      return;
    }
    res.set_content(reinterpret_cast<const char*>(file->data), file->size, file->type);
  });
  server.set_exception_handler([](Request, Response res, std::exception_ptr) {
    answer(res, serveRefusal(500, "the server could not answer that request"), std::chrono::steady_clock::now());
  });
}

int runServe(const ServeOptions& o) {
  Env env;
  NetFormat format = NetFormat::Unknown;
  const std::string problem = netFileProblem(o.net, format);
  if (!problem.empty()) fail(problem);
  net_bn* net = env.readNet(o.net, format);
  requireNodes(net, o.net);
  buildMissingTables(env, net, true);
  if (!hasPositions(net) && !layOutNet(net)) std::fprintf(stderr, "quorva: could not lay out the net; nodes drawn at (0, 0)\n");
  ClearErrors_vq(env.get(), INTERNAL_ERR);
  compileNet(env, net, o.net, 0);
  ServeSession session(env, net, o.net, format, o.save);
  httplib::Server server;
  server.set_payload_max_length(1 << 20);
  // Address reuse, but not port sharing: a port another server listens on is refused.
  socket_t listening = -1;
  server.set_socket_options([&listening](socket_t sock) {
    int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    listening = sock;
  });
  route(server, session);
  const int port = o.port == 0 ? server.bind_to_any_port(o.host) : (server.bind_to_port(o.host, o.port) ? o.port : -1);
  if (port <= 0)
    fail("could not listen on " + o.host + ":" + std::to_string(o.port) + " (the port is in use, or the address is not this machine's)");
  // The library listens with a queue of 5 connections: many clients at once would be turned away.
  if (listening >= 0) ::listen(listening, SOMAXCONN);
  struct sigaction action {};
  action.sa_handler = onStop;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  std::atomic<bool> done{false};
  std::thread watcher([&server, &done] {
    while (!halted()) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    for (; !done; std::this_thread::sleep_for(std::chrono::milliseconds(50))) server.stop();
  });
  const std::string host = o.host.find(':') != std::string::npos ? "[" + o.host + "]" : o.host;
  std::printf("quorva: serving %s at http://%s:%d/ (Ctrl-C stops)\n", netName(net).c_str(), host.c_str(), port);
  std::fflush(stdout);
  const bool served = server.listen_after_bind();
  done = true;
  if (!halted()) haltAll();  // the server ended by itself: the watcher ends too
  watcher.join();
  std::fprintf(stderr, "quorva: stopped\n");
  return served || halted() ? 0 : 1;
}

}  // namespace

void addServeCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<ServeOptions>();
  CLI::App* c = app.add_subcommand("serve", "Show the net in a web page: beliefs as bars, click a state to enter it");
  c->footer(
      "Examples:\n"
      "  quorva serve examples/asia.dne\n"
      "  quorva serve tests/data/Pigs.bif --port 0\n"
      "Prints the page's address and serves until Ctrl-C.  The page draws the net where its file places\n"
      "the nodes, or lays it out; click a state to enter it as a finding, again to retract it.  It is\n"
      "served to this machine only unless --host says otherwise.  JSON interface: GET /api/net,\n"
      "GET /api/beliefs, POST /api/findings {\"NODE\": \"STATE\" | index | null}, DELETE /api/findings,\n"
      "POST /api/positions {\"NODE\": [x, y]} (written back to the file with --save).\n"
      "A missing or unreadable net, or a port in use, fail with status 1.");
  addNetArgument(c, o->net);
  c->add_option("--port", o->port, "The port to listen on; 0 takes a free one (default 8080)")
      ->check(CLI::Range(0, 65535));
  c->add_option("--host", o->host, "The address to listen on (default 127.0.0.1: this machine only)");
  c->add_flag("--save", o->save, "Write the nodes' positions back to the net file when they are moved on the page");
  c->callback([o, &chosen] { chosen = [o] { return runServe(*o); }; });
}

}  // namespace quorva::cli
