// quorva serve run as a process on a free port: its JSON answers against quorva beliefs and
// quorva decide on the same net, refusals that leave the findings as they were, only the page's
// own files served, many clients at once, positions saved back to the file, and its exit statuses.
#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <cmath>
#include <map>
#include <mutex>
#include <set>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "Quorva.h"
#include "ServeProcess.h"
#include "ToolRun.h"

namespace {

using json = nlohmann::json;
const std::string SOURCE = QUORVA_SOURCE_DIR;
const std::string ASIA = SOURCE + "/tests/data/asia.bif";

std::unique_ptr<httplib::Client> clientOf(const ServeProcess& server) {
  auto client = std::make_unique<httplib::Client>("127.0.0.1", server.port());
  client->set_connection_timeout(5);
  client->set_read_timeout(10);
  return client;
}

json getJson(httplib::Client& client, const std::string& path) {
  auto res = client.Get(path);
  if (!res || res->status != 200) return json();
  return json::parse(res->body);
}

// The answer to a POST of `body` to `path`, which must succeed (null when it fails).
json postJson(httplib::Client& client, const std::string& path, const std::string& body) {
  auto res = client.Post(path, body, "application/json");
  EXPECT_TRUE(res && res->status == 200) << body << " -> " << (res ? res->body : httplib::to_string(res.error()));
  return res && res->status == 200 ? json::parse(res->body) : json();
}

// Every node's beliefs in the server's answer equal those of `quorva beliefs ASIA --json FINDINGS`.
void expectBeliefsOfCommand(const json& served, std::vector<std::string> findings) {
  findings.insert(findings.begin(), {"beliefs", ASIA, "--json"});
  const json printed = runJson(findings);
  EXPECT_NEAR(served["findings_probability"].get<double>(), printed["findings_probability"].get<double>(), 1e-9);
  ASSERT_EQ(served["beliefs"].size(), printed["nodes"].size());
  for (const json& node : printed["nodes"]) {
    const json& beliefs = served["beliefs"][node["name"].get<std::string>()];
    ASSERT_EQ(beliefs.size(), node["beliefs"].size()) << node["name"];
    for (size_t s = 0; s < beliefs.size(); ++s)
      EXPECT_NEAR(beliefs[s].get<double>(), node["beliefs"][s].get<double>(), 1e-6) << node["name"] << " " << s;
  }
}

TEST(ServeCommand, BeliefsAndFindingsMatchTheBeliefsCommand) {
  ServeProcess server(ASIA);
  ASSERT_GT(server.port(), 0) << server.output();
  auto client = clientOf(server);
  expectBeliefsOfCommand(getJson(*client, "/api/beliefs"), {});

  const json entered = postJson(*client, "/api/findings", R"({"smoking": "f1", "positive_XraY": 0})");
  EXPECT_EQ(entered["findings"], json::parse(R"({"smoking": "f1", "positive_XraY": "d1"})"));
  expectBeliefsOfCommand(entered, {"-f", "smoking=f1", "-f", "positive_XraY=d1"});
  expectBeliefsOfCommand(getJson(*client, "/api/beliefs"), {"-f", "smoking=f1", "-f", "positive_XraY=d1"});
  // Another state replaces the node's finding.
  expectBeliefsOfCommand(postJson(*client, "/api/findings", R"({"smoking": "f2"})"), {"-f", "smoking=f2", "-f", "positive_XraY=d1"});
  // null retracts one finding; DELETE retracts them all.
  expectBeliefsOfCommand(postJson(*client, "/api/findings", R"({"smoking": null})"), {"-f", "positive_XraY=d1"});
  auto res = client->Delete("/api/findings");
  ASSERT_TRUE(res && res->status == 200);
  EXPECT_TRUE(json::parse(res->body)["findings"].empty());
  expectBeliefsOfCommand(json::parse(res->body), {});
  EXPECT_EQ(server.stop(), 0) << server.output();
  EXPECT_NE(server.output().find("stopped"), std::string::npos);
}

TEST(ServeCommand, DecisionOptionsCarryTheUtilitiesOfTheDecideCommand) {
  const std::string net = SOURCE + "/examples/test_treat.dne";
  ServeProcess server(net);
  ASSERT_GT(server.port(), 0) << server.output();
  auto client = clientOf(server);
  for (const std::string finding : {"", "Disease=present"}) {
    std::vector<std::string> args{"decide", net, "--json"};
    if (!finding.empty()) {
      args.insert(args.end(), {"-f", finding});
      postJson(*client, "/api/findings", R"({"Disease": "present"})");
    }
    const json decided = runJson(args), served = getJson(*client, "/api/beliefs");
    EXPECT_NEAR(served["expected_utility"].get<double>(), decided["expected_utility"].get<double>(), 1e-6) << finding;
    for (const json& d : decided["decisions"]) {
      const json& options = served["expected_utilities"][d["name"].get<std::string>()];
      ASSERT_EQ(options.size(), d["options"].size()) << d["name"];
      for (size_t s = 0; s < options.size(); ++s)
        EXPECT_NEAR(options[s].get<double>(), d["options"][s]["expected_utility"].get<double>(), 1e-6) << d["name"];
    }
  }
}

TEST(ServeCommand, BadRequestsAreRefusedWithTheMessageAndLeaveTheFindings) {
  ServeProcess server(ASIA);
  ASSERT_GT(server.port(), 0) << server.output();
  auto client = clientOf(server);
  postJson(*client, "/api/findings", R"({"smoking": "f1"})");
  const json before = getJson(*client, "/api/beliefs");
  struct Case {
    const char* path;
    const char* body;
    int status, number;
    const char* message;
  };
  const Case cases[] = {
      {"/api/findings", R"({"smoke": "f1"})", 400, 0, "has no node named 'smoke'"},
      {"/api/findings", R"({"smoking": "maybe"})", 400, 0, "has no state 'maybe'"},
      {"/api/findings", R"({"smoking": 2})", 422, 3300, "new finding is too large (2, but states are numbered from 0 to 1)"},
      {"/api/findings", R"({"smoking": -2})", 422, 3301, "new finding is negative (-2)"},
      {"/api/findings", R"({"smoking": [1]})", 400, 0, "must be a state name, a state index or null"},
      {"/api/findings", R"({"smoking": "f1",)", 400, 0, "one JSON object"},
      {"/api/findings", R"(["smoking"])", 400, 0, "one JSON object"},
      // tuberculos_or_cancer is the "or" of its parents: the first finding is entered, the
      // second refused, and the first must go again.
      {"/api/findings", R"({"tuberculosis": "b1", "tuberculos_or_cancer": "c2"})", 422, 3302, "is inconsistent with findings for other"},
      // Two findings entered (one replacing smoking=f1), the third refused: all undone.
      {"/api/findings", R"({"bronchitis": "g2", "smoking": "f2", "lung_cancer": "#7"})", 422, 3300, "new finding is too large (7"},
      {"/api/positions", R"({"smoking": [1]})", 400, 0, "must be [x, y]"},
      {"/api/positions", R"({"smoking": [1, 2], "nobody": [3, 4]})", 400, 0, "has no node named 'nobody'"},
      {"/api/positions", R"({"smoking": [1e300, 2]})", 400, 0, "out of range"},
  };
  for (const Case& c : cases) {
    auto res = client->Post(c.path, c.body, "application/json");
    ASSERT_TRUE(res) << c.body;
    EXPECT_EQ(res->status, c.status) << c.body << " -> " << res->body;
    const json error = json::parse(res->body, nullptr, false);
    ASSERT_TRUE(error.contains("error")) << res->body;
    EXPECT_EQ(error["error"]["number"], c.number) << c.body;
    EXPECT_NE(error["error"]["message"].get<std::string>().find(c.message), std::string::npos) << res->body;
    EXPECT_EQ(getJson(*client, "/api/beliefs"), before) << "after " << c.body;
  }
  const json net = getJson(*client, "/api/net");
  for (const json& node : net["nodes"])
    if (node["name"] == "smoking") {
      EXPECT_NE(node["position"], json::parse("[1, 2]")) << "a refused move moved a node";
    }
}

std::string slurpWeb(const std::string& name) { return slurp(SOURCE + "/tools/quorva/web/" + name); }

TEST(ServeCommand, ServesExactlyItsOwnFilesAndNothingElse) {
  ServeProcess server(ASIA);
  ASSERT_GT(server.port(), 0) << server.output();
  auto client = clientOf(server);
  const std::pair<std::string, std::string> own[] = {
      {"/", "index.html"}, {"/index.html", "index.html"}, {"/app.js", "app.js"}, {"/style.css", "style.css"}};
  for (const auto& [path, file] : own) {
    auto res = client->Get(path);
    ASSERT_TRUE(res) << path;
    EXPECT_EQ(res->status, 200) << path;
    EXPECT_EQ(res->body, slurpWeb(file)) << path;
  }
  for (const char* path : {"/../../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/%2E%2E%2Fetc%2Fpasswd",
                           "/..%2f..%2fetc/passwd", "/web/index.html", "/Embed.cmake", "/index.html/",
                           "/./index.html", "/app.js%00", "/api", "/api/nothing", "//etc/passwd"}) {
    auto res = client->Get(path);
    ASSERT_TRUE(res) << path;
    EXPECT_EQ(res->status, 404) << path;
    EXPECT_EQ(res->body.find("root:"), std::string::npos) << path;
  }
  EXPECT_EQ(client->Get("/api/beliefs")->status, 200);  // still serving
}

TEST(ServeCommand, FiftyClientsOfFortyRequestsEachAllAnswered) {
  ServeProcess server(ASIA);
  ASSERT_GT(server.port(), 0) << server.output();
  constexpr int CLIENTS = 50, REQUESTS = 40;  // every kind of request ten times from each client
  std::atomic<int> failures{0}, answered{0};
  std::mutex firstLock;
  std::string first;  // what the first failed request got
  std::vector<std::thread> clients;
  for (int c = 0; c < CLIENTS; ++c) {
    clients.emplace_back([&, c] {
      httplib::Client client("127.0.0.1", server.port());
      client.set_connection_timeout(10);
      client.set_read_timeout(20);
      for (int i = 0; i < REQUESTS; ++i) {
        // Findings at the two root nodes only: every mix of them is possible.
        const char* node = (c + i) % 2 ? "smoking" : "visit_to_Asia";
        httplib::Result res = [&] {
          switch (i % 4) {
            case 0: return client.Post("/api/findings", json{{node, (i / 4) % 2}}.dump(), "application/json");
            case 1: return client.Get("/api/beliefs");
            case 2: return client.Post("/api/findings", json{{node, nullptr}}.dump(), "application/json");
            default: return i % 8 == 3 ? client.Get("/api/net") : client.Get("/app.js");
          }
        }();
        if (!res || res->status != 200) {
          std::lock_guard<std::mutex> hold(firstLock);
          if (first.empty()) first = res ? std::to_string(res->status) + " " + res->body : httplib::to_string(res.error());
          ++failures;
          continue;
        }
        ++answered;
        if (i % 4 == 1) {  // each node's beliefs sum to one whatever the others do meanwhile
          const json b = json::parse(res->body)["beliefs"];
          for (const auto& [name, beliefs] : b.items()) {
            double sum = 0;
            for (const json& p : beliefs) sum += p.get<double>();
            if (std::abs(sum - 1) > 1e-5) ++failures;
          }
        }
      }
    });
  }
  for (std::thread& t : clients) t.join();
  EXPECT_EQ(failures.load(), 0) << first;
  EXPECT_EQ(answered.load(), CLIENTS * REQUESTS);
  EXPECT_EQ(server.stop(), 0) << server.output();
}

// A node's position as read back from a net file.
std::pair<double, double> positionInFile(const std::string& path, const char* node) {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  char mesg[MESG_LEN_vq];
  InitQuorva2_bn(env, mesg);
  stream_vq* stream = NewFileStream_vq(path.c_str(), env, nullptr);
  net_bn* net = ReadNet_bn(stream, NO_VISUAL_INFO);
  std::pair<double, double> at{-1, -1};
  if (net) GetNodeVisPosition_bn(GetNodeNamed_bn(node, net), nullptr, &at.first, &at.second);
  DeleteStream_vq(stream);
  CloseQuorva_bn(env, nullptr);
  return at;
}

TEST(ServeCommand, MovedNodesAreSavedOnlyWithSaveAndTheFileLayoutIsKept) {
  const std::string dir = makeTempDir(), net = dir + "/asia.dne";
  ASSERT_FALSE(dir.empty());
  std::filesystem::copy_file(SOURCE + "/examples/asia.dne", net);
  const std::string original = slurp(net);
  json laidOut;
  {
    ServeProcess server(net);  // without --save the file stays as it is
    ASSERT_GT(server.port(), 0) << server.output();
    EXPECT_EQ(postJson(*clientOf(server), "/api/positions", R"({"smoking": [321.5, 77]})")["saved"], false);
  }
  EXPECT_EQ(slurp(net), original);
  {
    ServeProcess server(net, {"--save"});
    ASSERT_GT(server.port(), 0) << server.output();
    auto client = clientOf(server);
    laidOut = getJson(*client, "/api/net");
    EXPECT_EQ(postJson(*client, "/api/positions", R"({"smoking": [321.5, 77]})")["saved"], true);
  }
  const auto at = positionInFile(net, "smoking");
  EXPECT_EQ(at.first, 321.5);
  EXPECT_EQ(at.second, 77);
  size_t files = 0;
  for ([[maybe_unused]] const auto& f : std::filesystem::directory_iterator(dir)) ++files;
  EXPECT_EQ(files, 1u) << "a temporary file was left beside the net";
  // Started again, the page gets the file's positions: the moved node where it was put, the
  // others where the first layout placed them.
  ServeProcess again(net);
  ASSERT_GT(again.port(), 0) << again.output();
  const json saved = getJson(*clientOf(again), "/api/net");
  ASSERT_EQ(saved["nodes"].size(), laidOut["nodes"].size());
  for (size_t i = 0; i < saved["nodes"].size(); ++i) {
    const json& node = saved["nodes"][i];
    const json expected = node["name"] == "smoking" ? json::parse("[321.5, 77]") : laidOut["nodes"][i]["position"];
    EXPECT_EQ(node["position"], expected) << node["name"];
  }
  std::filesystem::remove_all(dir);
}

TEST(ServeCommand, LayoutPutsEveryChildBelowItsParentsWhereTheFileHasNoPositions) {
  ServeProcess server(SOURCE + "/tests/data/alarm.bif");
  ASSERT_GT(server.port(), 0) << server.output();
  const json net = getJson(*clientOf(server), "/api/net");
  std::map<std::string, std::pair<double, double>> at;
  for (const json& node : net["nodes"]) at[node["name"]] = {node["position"][0], node["position"][1]};
  std::set<std::pair<double, double>> distinct;
  for (const auto& [name, p] : at) distinct.insert(p);
  EXPECT_EQ(distinct.size(), at.size()) << "two nodes drawn at one place";
  for (const json& node : net["nodes"])
    for (const json& parent : node["parents"])
      EXPECT_GT(at[node["name"]].second, at[parent].second) << parent << " -> " << node["name"];
}

TEST(ServeCommand, CommandLineProblemsGiveTheirStatus) {
  EXPECT_NE(runQuorva({"serve", "--help"}).out.find("/api/findings"), std::string::npos);  // the API it serves
  ToolRun missing = runQuorva({"serve", "/tmp/no/such/net.dne", "--port", "0"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("net.dne"), std::string::npos) << missing.err;
  EXPECT_EQ(runQuorva({"serve", ASIA, "--port", "70000"}).status, 2);
  EXPECT_EQ(runQuorva({"serve", ASIA, "--bogus"}).status, 2);

  ServeProcess first(ASIA);
  ASSERT_GT(first.port(), 0) << first.output();
  ServeProcess taken(ASIA, {}, std::to_string(first.port()));
  EXPECT_EQ(taken.port(), 0) << "two servers on one port";
  EXPECT_EQ(taken.stop(), 1);
  EXPECT_NE(taken.output().find("could not listen on 127.0.0.1:" + std::to_string(first.port())), std::string::npos)
      << taken.output();
  EXPECT_EQ(clientOf(first)->Get("/api/beliefs")->status, 200);  // the first one still serves
}

}  // namespace
