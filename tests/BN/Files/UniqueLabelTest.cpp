// The unique-label counter of a net: the warning before it recycles, the wrap, and graph
// searches that stay right across the wrap.
#include <gtest/gtest.h>

#include <thread>

#include "BN/Net/Bnet.h"
#include "BN/Net/Links.h"
#include "Basic/EnvCore.h"

using namespace quorva;

namespace {
constexpr uint64_t WARN_AT = 999'999'999'990'000'000ULL;
constexpr uint64_t WRAP_AT = 999'999'999'999'999'000ULL;

class UniqueLabelTest : public ::testing::Test {
 protected:
  UniqueLabelTest() { core.state = ENV_USABLE_STATE; }

  std::vector<std::string> warnings() const {
    std::vector<std::string> out;
    for (ErrorRecord* r = core.errors.next(std::this_thread::get_id(), WARNING_SEV, nullptr); r;
         r = core.errors.next(std::this_thread::get_id(), WARNING_SEV, r))
      out.push_back(r->message);
    return out;
  }

  EnvCore core;
  Bnet net{&core, "N"};
};
}  // namespace

TEST_F(UniqueLabelTest, WarnsOnceAtTheWarningMarkAndRestartsAtOneHundredAtTheWrapMark) {
  net.uniqueLabel = WARN_AT - 2;
  EXPECT_EQ(net.newLabel(), WARN_AT - 1);
  EXPECT_TRUE(warnings().empty());
  EXPECT_EQ(net.newLabel(), WARN_AT);
  EXPECT_EQ(net.newLabel(), WARN_AT + 1);
  EXPECT_EQ(warnings(),
            std::vector<std::string>{"will soon recycle 'unique' labels.  Save work and restart"});
  net.uniqueLabel = WRAP_AT - 2;
  EXPECT_EQ(net.newLabel(), WRAP_AT - 1);
  EXPECT_EQ(net.newLabel(), 100u);
  EXPECT_EQ(net.newLabel(), 101u);
  net.uniqueLabel = WRAP_AT + 5;  // already past the mark
  EXPECT_EQ(net.newLabel(), 100u);
  EXPECT_EQ(warnings().size(), 1u);
}

TEST_F(UniqueLabelTest, MarksLeftFromBeforeTheWrapDoNotFakeACycle) {
  Bnode& a = net.addNode("A", 2);
  Bnode& b = net.addNode("B", 2);
  // Marks that happen to equal the first label after the wrap: unless the wrap clears them, the
  // search from B finds A "reachable" and warns of a cycle that is not there.
  a.mark = b.mark = 100;
  net.uniqueLabel = WRAP_AT - 1;
  EXPECT_EQ(addLink(a, b), 0);
  EXPECT_TRUE(warnings().empty());
  // A real cycle is still found with the recycled labels.
  addLink(b, a);
  ASSERT_EQ(warnings().size(), 1u);
  EXPECT_NE(warnings()[0].find("results in a cycle"), std::string::npos);
}
