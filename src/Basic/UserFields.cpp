// Storage of user fields.
#include "Basic/UserFields.h"

#include <algorithm>

namespace quorva {

void UserFields::set(const std::string& name, std::string value) {
  for (auto& f : fields_)
    if (f.first == name) {
      f.second = std::move(value);
      return;
    }
  fields_.emplace_back(name, std::move(value));
}

void UserFields::remove(const std::string& name) {
  fields_.erase(std::remove_if(fields_.begin(), fields_.end(),
                               [&](const auto& f) { return f.first == name; }),
                fields_.end());
}

const std::string* UserFields::get(const std::string& name) const {
  for (const auto& f : fields_)
    if (f.first == name) return &f.second;
  return nullptr;
}

const std::pair<std::string, std::string>* UserFields::nth(size_t index) const {
  return index < fields_.size() ? &fields_[index] : nullptr;
}

}  // namespace quorva
