// SetNodeEquation_bn and GetNodeEquation_bn through the C API.
#include <string>

#include "Support/EnvFixture.h"

namespace {

class EquationApiTest : public EnvTest {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    net = NewNet_bn("eq", env);
    color = addNode(net, "Color", 3, "red,green,blue");
    size = NewNode_bn("Size", 0, net);  // continuous
    y = addNode(net, "Y", 2, "no,yes", {color, size});
  }
  int lastNumber() {
    report_vq* r = lastError();
    return r ? ErrorNumber_vq(r) : 0;
  }
  net_bn* net = nullptr;
  node_bn *color = nullptr, *size = nullptr, *y = nullptr;
};

struct SetCase {
  const char* text;
  int error;  // 0: accepted
};

const SetCase setCases[] = {
    {"Y (Color, Size) = Color == red && Size > 2", 0},
    {"f (Size) = Size > 2", 0},
    {"P (Y | Color) = Color == blue ? 0.9 : 0.1", 0},
    {"  Y(Color)=Color==green  /* comment kept */", 0},
    {"Y (Colour) = 1", 2459},
    {"Z (Color) = 1", 2460},
    {"Y (Color) = Color + 1", 2323},
    {"Y (Size) = Size >", 2496},
    {"P (Y | Size) = NormalRand (Size, 1)", 3989},
};

TEST_F(EquationApiTest, accepted_text_is_kept_exactly_and_refused_text_changes_nothing) {
  const char* before = "Y (Size) = Size < 1";
  for (const SetCase& c : setCases) {
    SetNodeEquation_bn(y, before);
    ASSERT_STREQ(GetNodeEquation_bn(y), before);
    ClearErrors_vq(env, ERROR_ERR);
    SetNodeEquation_bn(y, c.text);
    EXPECT_EQ(lastNumber(), c.error) << c.text;
    EXPECT_STREQ(GetNodeEquation_bn(y), c.error ? before : c.text) << c.text;
  }
}

TEST_F(EquationApiTest, null_or_empty_text_removes_the_equation) {
  EXPECT_STREQ(GetNodeEquation_bn(y), "");
  SetNodeEquation_bn(y, "Y (Size) = Size > 0");
  SetNodeEquation_bn(y, nullptr);
  EXPECT_STREQ(GetNodeEquation_bn(y), "");
  SetNodeEquation_bn(y, "Y (Size) = Size > 0");
  SetNodeEquation_bn(y, "");
  EXPECT_STREQ(GetNodeEquation_bn(y), "");
  EXPECT_EQ(lastError(), nullptr);
}

TEST_F(EquationApiTest, named_links_are_the_names_an_equation_uses) {
  SetNodeInputName_bn(y, 1, "s");
  SetNodeEquation_bn(y, "Y (Size) = Size > 0");
  EXPECT_EQ(lastNumber(), 2459);
  SetNodeEquation_bn(y, "Y (s) = s > 0");
  EXPECT_STREQ(GetNodeEquation_bn(y), "Y (s) = s > 0");
}

TEST_F(EquationApiTest, copied_net_keeps_the_equation) {
  SetNodeEquation_bn(y, "Y (Color) = Color != red");
  net_bn* copy = CopyNet_bn(net, "copy", env, nullptr);
  ASSERT_NE(copy, nullptr);
  EXPECT_STREQ(GetNodeEquation_bn(GetNodeNamed_bn("Y", copy)), "Y (Color) = Color != red");
}

}  // namespace
