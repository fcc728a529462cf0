// Named values that users attach to nets and nodes, kept in the order first set.
#pragma once
#include <string>
#include <utility>
#include <vector>

namespace quorva {

class UserFields {
 public:
  // Sets a field (replacing its value in place) or, with `remove`, deletes it.
  void set(const std::string& name, std::string value);
  void remove(const std::string& name);
  const std::string* get(const std::string& name) const;
  const std::pair<std::string, std::string>* nth(size_t index) const;
  size_t size() const { return fields_.size(); }

 private:
  std::vector<std::pair<std::string, std::string>> fields_;
};

}  // namespace quorva
