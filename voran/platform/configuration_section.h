#pragma once

#include <string>

#include "voran/export.h"

inline namespace voran {

/// One section of the host's settings: values under keys, wherever the host keeps them. The host derives its own from
/// this class; the library reads and writes through it and never keeps a pointer.
class VORAN_EXPORT ConfigurationSection {
 public:
  ConfigurationSection() = default;
  ConfigurationSection(const ConfigurationSection&) = delete;
  ConfigurationSection& operator=(const ConfigurationSection&) = delete;
  virtual ~ConfigurationSection();

  /// False, with `value` left alone, if there is no integer under this key.
  virtual bool GetInt(const std::string& key, int& value) const = 0;
  virtual void SetInt(const std::string& key, int value) = 0;

  /// Fills values[0]..values[count - 1]. False, with the values left alone, unless there is an array of exactly `count`
  /// numbers under this key.
  virtual bool GetFloats(const std::string& key, float* values, int count) const = 0;
  virtual void SetFloats(const std::string& key, const float* values, int count) = 0;
};

}  // namespace voran
