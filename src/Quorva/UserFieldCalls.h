// The argument checks and work shared by the net and node user-field functions.
#pragma once
#include "Basic/UserFields.h"
#include "Quorva/ApiFrame.h"

namespace quorva {

// `node` is the node whose fields these are, or null for the net's own.
void setUserField(ApiFrame& f, Bnet& net, Bnode* node, UserFields& fields, const char* name, const void* data,
                  int length, int kind);
const char* getUserField(ApiFrame& f, const UserFields& fields, const char* name, int* length, int kind);
void getNthUserField(ApiFrame& f, const UserFields& fields, int index, const char** name,
                     const char** value, int* length, int kind);

}  // namespace quorva
