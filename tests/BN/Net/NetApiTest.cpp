// Nets through the C API: names, texts and user fields (of nets and of nodes).
#include <cstring>

#include "BN/Net/NetErrors.h"
#include "Basic/BasicErrors.h"
#include "Support/NetSnapshot.h"

namespace err = quorva::err;

TEST_F(NetTest, NetNamesAreCheckedWhenMadeAndWhenChanged) {
  EXPECT_EQ(NewNet_bn(nullptr, env), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::EmptyName.number);
  EXPECT_STREQ(ErrorMessage_vq(lastError()), "empty string passed for name");
  EXPECT_EQ(NewNet_bn("1net", env), nullptr);
  EXPECT_STREQ(ErrorMessage_vq(lastError()), "in argument 'name', '1net' starts with non-alphabetic character '1'");

  net_bn* net = NewNet_bn("_Weather2", env);
  ASSERT_NE(net, nullptr);
  EXPECT_EQ(GetNetEnviron_bn(net), env);
  SetNetName_bn(net, "has-dash");
  EXPECT_STREQ(GetNetName_bn(net), "_Weather2");
  EXPECT_STREQ(ErrorMessage_vq(lastError()), "in argument 'name', 'has-dash' contains the illegal character '-'");
  SetNetName_bn(net, "Weather");
  EXPECT_STREQ(GetNetName_bn(net), "Weather");

  SetNetComment_bn(net, "any text");
  SetNetComment_bn(net, nullptr);
  EXPECT_STREQ(GetNetComment_bn(net), "");
}

TEST_F(NetTest, UserFieldsAreFoundByNameAndByIndexInOrderFirstSet) {
  net_bn* net = NewNet_bn("N", env);
  const char binary[] = {'a', '\0', 'b', '\xFF'};
  SetNetUserField_bn(net, "text", "hello", -1, 0);
  SetNetUserField_bn(net, "bytes", binary, 4, 0);
  int length = 0;
  const char* value = GetNetUserField_bn(net, "bytes", &length, 0);
  ASSERT_EQ(length, 4);
  EXPECT_EQ(std::memcmp(value, binary, 4), 0);

  // A new value replaces the old one in its place; NULL data removes the field.
  SetNetUserField_bn(net, "text", "hi", -1, 0);
  SetNetUserField_bn(net, "third", "3", -1, 0);
  SetNetUserField_bn(net, "bytes", nullptr, 0, 0);
  EXPECT_EQ(GetNetUserField_bn(net, "bytes", &length, 0), nullptr);
  EXPECT_EQ(length, -1);
  const char *name = nullptr, *val = nullptr;
  GetNetNthUserField_bn(net, 0, &name, &val, &length, 0);
  EXPECT_STREQ(name, "text");
  EXPECT_STREQ(val, "hi");
  EXPECT_EQ(length, 2);
  GetNetNthUserField_bn(net, 1, &name, &val, &length, 0);
  EXPECT_STREQ(name, "third");
  GetNetNthUserField_bn(net, 2, &name, &val, &length, 0);
  EXPECT_EQ(name, nullptr);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);

  // Node fields are kept apart from the net's, and refusals leave them alone.
  node_bn* a = NewNode_bn("A", 2, net);
  SetNodeUserField_bn(a, "text", "node", -1, 0);
  SetNodeUserField_bn(a, "bad name", "x", -1, 0);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::BadName.number);
  SetNodeUserField_bn(a, "text", "x", -1, 1);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::UserFieldKind.number);
  SetNodeUserField_bn(a, "text", "x", -2, 0);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::UserFieldLength.number);
  EXPECT_STREQ(GetNodeUserField_bn(a, "text", &length, 0), "node");
  EXPECT_STREQ(GetNetUserField_bn(net, "text", &length, 0), "hi");
  GetNodeNthUserField_bn(a, 1, &name, &val, &length, 0);
  EXPECT_EQ(name, nullptr);
}
