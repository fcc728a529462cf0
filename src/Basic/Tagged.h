// Type tags that begin every engine object, so that a handle can be recognised before it is used.
#pragma once
#include <cstdint>

namespace quorva {

// The bits 0x0300 of a tag are per-object flags; tags are compared after masking them off.
inline constexpr uint16_t TAG_MASK = 0xFCFF;

inline constexpr uint16_t ENVIRON_TYPE = 0x948F;
inline constexpr uint16_t REPORT_TYPE = 0x9490;
inline constexpr uint16_t REPORT_BUILDING_TYPE = 0x9583;
inline constexpr uint16_t BNET_TYPE = 0x94A3;
inline constexpr uint16_t BNODE_TYPE = 0x94A4;
inline constexpr uint16_t NODELIST_TYPE = 0x94A5;
inline constexpr uint16_t FILESPEC_TYPE = 0x94B1;
inline constexpr uint16_t CASESET_TYPE = 0x94B4;
inline constexpr uint16_t RANDGEN_TYPE = 0x9492;
inline constexpr uint16_t LEARNER_TYPE = 0x94B6;
inline constexpr uint16_t NET_TESTER_TYPE = 0x94B7;
// Shared by several kinds of object: while being constructed, and after deletion.
inline constexpr uint16_t BUILDING_TYPE = 0x9583;
inline constexpr uint16_t DELETED_TYPE = 0x9584;

// First base of every object reachable through a handle: the tag, then the deleted flag.
struct Tagged {
  explicit Tagged(uint16_t t) : tag(t) {}
  uint16_t tag;
  uint8_t deleted = 0;
  uint8_t spare = 0;

  bool isOfType(uint16_t type) const { return (tag & TAG_MASK) == type; }
};

// Reads the tag of any handle; the caller has made sure the pointer is not null.
inline bool handleIsOfType(const void* handle, uint16_t type) {
  return static_cast<const Tagged*>(handle)->isOfType(type);
}

}  // namespace quorva
