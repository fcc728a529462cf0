// User fields of nets and nodes.
#include "Quorva/UserFieldCalls.h"

#include <cstring>

#include "BN/Net/NetEdit.h"
#include "BN/Net/NetErrors.h"
#include "BN/Net/NodeOps.h"

namespace quorva {

void setUserField(ApiFrame& f, Bnet& net, Bnode* node, UserFields& fields, const char* name, const void* data,
                  int length, int kind) {
  Environ& env = f.env();
  std::string field = checkedName(&env, name, "field_name");
  if (kind != 0) argError(&env, err::UserFieldKind, kind);
  if (length < -1) argError(&env, err::UserFieldLength, length);
  NetEdit edit(net, "set user field", EditKind::Text, node ? UndoScope::texts(*node) : UndoScope::netFields());
  if (!data) {
    fields.remove(field);
  } else {
    const char* bytes = static_cast<const char*>(data);
    fields.set(field, length < 0 ? std::string(bytes) : std::string(bytes, static_cast<size_t>(length)));
  }
  edit.commit();
}

const char* getUserField(ApiFrame& f, const UserFields& fields, const char* name, int* length, int kind) {
  if (kind != 0) argError(&f.env(), err::UserFieldKind, kind);
  const std::string* value = name ? fields.get(name) : nullptr;
  if (length) *length = value ? static_cast<int>(value->size()) : -1;
  return value ? value->c_str() : nullptr;
}

void getNthUserField(ApiFrame& f, const UserFields& fields, int index, const char** name,
                     const char** value, int* length, int kind) {
  if (kind != 0) argError(&f.env(), err::UserFieldKind, kind);
  const auto* field = index >= 0 ? fields.nth(static_cast<size_t>(index)) : nullptr;
  if (name) *name = field ? field->first.c_str() : nullptr;
  if (value) *value = field ? field->second.c_str() : nullptr;
  if (length) *length = field ? static_cast<int>(field->second.size()) : -1;
}

}  // namespace quorva
