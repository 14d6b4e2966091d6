#pragma once

namespace quill {

/// Makes a std::unique_ptr call `function` for the object that it owns.
template <auto function>
struct Deleter {
  template <typename Object>
  void operator()(Object* object) const {
    function(object);  // NOLINT(cppcoreguidelines-*): as the library of the object asks
  }
};

}  // namespace quill
