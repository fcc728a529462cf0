// Random generators through the C API: seeds and saved states, the refusals and their messages,
// deletion, nets holding generators, and what the environment frees when it closes.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Basic/RandomErrors.h"
#include "Quorva/ApiErrors.h"
#include "Support/EnvFixture.h"
#include "Quorva/Handles.h"

using namespace quorva;

namespace {

class RandomApiTest : public EnvTest {
 protected:
  std::vector<double> draw(randgen_vq* gen, int num) {
    std::vector<double> v(static_cast<size_t>(num), -2.0);
    double first = GenerateRandomNumbers_vq(gen, v.data(), num, nullptr);
    EXPECT_EQ(first, v[0]);
    return v;
  }
  // Checks the last error's number and message, then clears the records.
  void expectError(int number, const std::string& text) {
    report_vq* r = lastError();
    ASSERT_NE(r, nullptr) << "expected: " << text;
    EXPECT_EQ(ErrorNumber_vq(r), number);
    EXPECT_EQ(ErrorMessage_vq(r), text);
    ClearErrors_vq(env, INTERNAL_ERR);
  }
  size_t generatorsMade() { return asEnv(env)->randgens.size(); }
};

TEST_F(RandomApiTest, SeedsAndSavedStatesReproduceTheSequence) {
  randgen_vq* gen = NewRandomGenerator_vq("86420", env, nullptr);
  randgen_vq* twin = NewRandomGenerator_vq("86420", env, "");
  ASSERT_TRUE(gen && twin);
  EXPECT_EQ(draw(gen, 13), draw(twin, 13));
  const char* state = GetRandomGenState_vq(gen, nullptr);
  ASSERT_NE(state, nullptr);
  EXPECT_EQ(std::string(state).size(), 273u);
  randgen_vq* resumed = NewRandomGenerator_vq(state, env, nullptr);
  ASSERT_NE(resumed, nullptr);
  EXPECT_EQ(draw(resumed, 60), draw(gen, 60));
  EXPECT_EQ(std::string(GetRandomGenState_vq(resumed, "")), GetRandomGenState_vq(gen, nullptr));
  EXPECT_EQ(errorCount(NOTICE_ERR), 0);
}

TEST_F(RandomApiTest, RefusedSeedsMakeNoGenerator) {
  std::string state = GetRandomGenState_vq(NewRandomGenerator_vq("1", env, nullptr), nullptr);
  size_t made = generatorsMade();
  // The seed and state texts are checked by the generator (RandomGenTest has their messages).
  EXPECT_EQ(NewRandomGenerator_vq("12e3", env, nullptr), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::SeedNotInteger.number);
  std::string bad = state;
  bad[100] = 'Q';
  EXPECT_EQ(NewRandomGenerator_vq(bad.c_str(), env, nullptr), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::RandStateNotHex.number);
  EXPECT_EQ(NewRandomGenerator_vq("7", env, "fast"), nullptr);
  expectError(err::RandgenOptions.number,
              "argument 'options' must be empty or null (0) with this version of >-Quorva, but it is:  fast");
  EXPECT_EQ(generatorsMade(), made);
}

TEST_F(RandomApiTest, ANullSeedSeedsFromTheClockCounter) {
  bool before = RandomGen::setReproducible(true);
  randgen_vq* a = NewRandomGenerator_vq(nullptr, env, nullptr);
  std::string count = std::to_string(RandomGen::reseedCount());
  randgen_vq* b = NewRandomGenerator_vq(nullptr, env, nullptr);
  randgen_vq* same = NewRandomGenerator_vq(count.c_str(), env, nullptr);
  RandomGen::setReproducible(before);
  ASSERT_TRUE(a && b && same);
  std::vector<double> first = draw(a, 20);
  EXPECT_EQ(draw(same, 20), first);
  EXPECT_NE(draw(b, 20), first);
}

TEST_F(RandomApiTest, DrawingChecksItsArguments) {
  randgen_vq* gen = NewRandomGenerator_vq("3", env, nullptr);
  randgen_vq* twin = NewRandomGenerator_vq("3", env, nullptr);
  double x = 5;
  EXPECT_EQ(GenerateRandomNumbers_vq(gen, &x, -1, nullptr), -1.0);
  expectError(err::RandomCountNegative.number, "argument 'num' must not be negative, but it is -1");
  EXPECT_EQ(GenerateRandomNumbers_vq(gen, nullptr, 2, nullptr), -1.0);
  expectError(err::NullArgument.number, "NULL passed for argument 'results'");
  EXPECT_EQ(GenerateRandomNumbers_vq(gen, &x, 1, "normal"), -1.0);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::RandgenOptions.number);
  ClearErrors_vq(env, INTERNAL_ERR);
  EXPECT_EQ(GetRandomGenState_vq(gen, "hex"), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::RandgenOptions.number);
  ClearErrors_vq(env, INTERNAL_ERR);
  EXPECT_TRUE(std::isnan(GenerateRandomNumbers_vq(gen, nullptr, 0, nullptr)));
  EXPECT_EQ(x, 5.0);
  EXPECT_EQ(errorCount(NOTICE_ERR), 0);
  EXPECT_EQ(draw(gen, 10), draw(twin, 10));  // the refused calls and num 0 drew nothing
}

TEST_F(RandomApiTest, DeletedGeneratorIsRefused) {
  double x;
  randgen_vq* gen = NewRandomGenerator_vq("11", env, nullptr);
  DeleteRandomGen_vq(gen);
  EXPECT_EQ(errorCount(NOTICE_ERR), 0);
  EXPECT_EQ(GenerateRandomNumbers_vq(gen, &x, 1, nullptr), -1.0);
  expectError(err::DeletedObject.number, "deleted or damaged >-RandomGenerator passed");
  DeleteRandomGen_vq(gen);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::DeletedObject.number);
  ClearErrors_vq(env, INTERNAL_ERR);
  SetNetRandomGen_bn(NewNet_bn("N", env), gen, 0);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::DeletedObject.number);
}

TEST_F(RandomApiTest, ANetDrawsFromItsOwnGeneratorUntilItIsDeletedOrTakenAway) {
  net_bn* net = NewNet_bn("Sampler", env);
  Bnet& n = *asNet(net);
  Environ& e = *asEnv(env);
  EXPECT_EQ(&n.randgen.pick(n.env), &e.randgen);

  randgen_vq* borrowed = NewRandomGenerator_vq("5", env, nullptr);
  SetNetRandomGen_bn(net, borrowed, 0);
  EXPECT_EQ(&n.randgen.pick(n.env), asRandgen(borrowed));
  SetNetRandomGen_bn(net, nullptr, 0);  // back to the default; the generator stays usable
  EXPECT_EQ(&n.randgen.pick(n.env), &e.randgen);
  SetNetRandomGen_bn(net, borrowed, 0);
  DeleteRandomGen_vq(borrowed);  // the net lets go of it
  EXPECT_EQ(&n.randgen.pick(n.env), &e.randgen);

  randgen_vq* first = NewRandomGenerator_vq("6", env, nullptr);
  randgen_vq* second = NewRandomGenerator_vq("7", env, nullptr);
  SetNetRandomGen_bn(net, first, 1);
  SetNetRandomGen_bn(net, first, 1);  // given again: kept, not deleted
  EXPECT_TRUE(asRandgen(first)->hasState());
  SetNetRandomGen_bn(net, second, 1);  // the private one it had is deleted
  EXPECT_EQ(asRandgen(first)->tag, DELETED_TYPE);
  EXPECT_EQ(&n.randgen.pick(n.env), asRandgen(second));
  EXPECT_EQ(errorCount(NOTICE_ERR), 0);
  DeleteNet_bn(net);  // and the net's private generator goes with the net
  EXPECT_EQ(asRandgen(second)->tag, DELETED_TYPE);

  environ_vq* other = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  ASSERT_GE(InitQuorva2_bn(other, nullptr), 0);
  randgen_vq* foreign = NewRandomGenerator_vq("8", other, nullptr);
  net_bn* net2 = NewNet_bn("Other", env);
  SetNetRandomGen_bn(net2, foreign, 1);
  expectError(err::RandgenOtherEnviron.number,
              "in argument 'rand', the >-RandomGenerator belongs to a different >-Environ than the >-Bnet");
  EXPECT_EQ(asNet(net2)->randgen.gen, nullptr);
  // Closing frees the generators it owns.
  ASSERT_EQ(CloseQuorva_bn(other, nullptr), 0);
  EXPECT_TRUE(asEnv(other)->randgens.empty());
}

}  // namespace
