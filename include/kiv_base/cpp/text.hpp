// Strings and bytes as arguments and results.
//
//   TextRef   a borrowed, terminated string; the type of arguments and of strings that an object
//   owns Text      a string that the library allocated, freed with _zu_free Data      bytes to
//   read, with a 32-bit length; LongData has a 64-bit one Buffer    bytes to write to; LongBuffer
//
// As Data, a literal or another constant array of char is the string up to its NUL. A mutable array
// does not compile, since only its user knows whether it holds a string or bytes: write
// TextRef(array).view() or {array, length}. A null string is empty.
#ifndef KIV_BASE_CPP_TEXT_HPP
#define KIV_BASE_CPP_TEXT_HPP

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string_view>
#include <type_traits>

#include "kiv_base/base.h"
#include "kiv_base/cpp/handle.hpp"

namespace kiv {

// Only terminated strings are accepted; a string view does not compile, since it may end anywhere.
class TextRef : public Ref<const char> {
 public:
  using Ref::Ref;
  constexpr TextRef(std::nullptr_t) noexcept {}
  template <typename String>
  requires requires(const String& text) {
    { text.c_str() } -> std::convertible_to<const char*>;
  }
  constexpr TextRef(const String& text) noexcept : Ref(text.c_str()) {}

  constexpr const char* c_str() const noexcept { return object_; }
  // Empty for a null string, too. The view of a temporary `Text` is invalid after the statement.
  constexpr std::string_view view() const noexcept {
    return object_ == nullptr ? std::string_view() : std::string_view(object_);
  }
  // A null string equals none.
  friend constexpr bool operator==(TextRef text, std::string_view other) noexcept {
    return text && text.view() == other;
  }
};

inline void free_text(const char* text) noexcept {
  _zu_free(const_cast<char*>(text));
}
using Text = Owner<TextRef, free_text>;

template <typename Source>
concept TextSource =
    std::convertible_to<const Source&, std::string_view> && !std::is_array_v<Source>;

template <typename Source>
concept ByteRange =
    !std::convertible_to<const Source&, std::string_view> && requires(const Source& source) {
  std::data(source);
  std::size(source);
  requires sizeof(*std::data(source)) == 1;
};

template <typename Target, typename Self>
concept BytesForAnother =
    !std::is_same_v<std::remove_cvref_t<Target>, Self> && requires(Target & target) {
  std::size(target);
  requires sizeof(*std::data(target)) == 1;
  requires !std::is_const_v<std::remove_pointer_t<decltype(std::data(target))>>;
};

template <std::signed_integral Size>
class BasicBuffer {
 public:
  constexpr BasicBuffer() noexcept = default;
  constexpr BasicBuffer(void* bytes, Size size) noexcept
      : bytes_(static_cast<char*>(bytes)), size_(size) {}
  constexpr BasicBuffer(char* bytes, Size size) noexcept : bytes_(bytes), size_(size) {}
  // Accepts arrays, vectors and strings of bytes; a type that only points at its bytes, such as a
  // span, may outlive them.
  template <BytesForAnother<BasicBuffer> Target>
  constexpr BasicBuffer(Target& target) noexcept
      : BasicBuffer(static_cast<void*>(std::data(target)), narrow(std::size(target))) {}
  template <typename Target>
  requires BytesForAnother<const Target, BasicBuffer>
  constexpr BasicBuffer(const Target& target) noexcept
      : BasicBuffer(static_cast<void*>(std::data(target)), narrow(std::size(target))) {}

  constexpr char* data() const noexcept { return bytes_; }
  constexpr Size size() const noexcept { return size_; }
  constexpr std::string_view view() const noexcept {
    return {bytes_, static_cast<std::size_t>(size_ < 0 ? 0 : size_)};
  }
  constexpr operator std::string_view() const noexcept { return view(); }

  // A length that exceeds the interface's range becomes one that every function rejects.
  static constexpr Size narrow(std::size_t size) noexcept {
    return size <= static_cast<std::make_unsigned_t<Size>>(std::numeric_limits<Size>::max())
               ? static_cast<Size>(size)
               : Size{-1};
  }

 private:
  char* bytes_ = nullptr;
  Size size_ = 0;
};

template <std::signed_integral Size>
class BasicData {
 public:
  constexpr BasicData() noexcept = default;
  constexpr BasicData(const void* bytes, Size size) noexcept
      : bytes_(static_cast<const char*>(bytes)), size_(size) {}
  constexpr BasicData(const char* bytes, Size size) noexcept : bytes_(bytes), size_(size) {}
  // The bytes that a callback received can be passed on as they are.
  constexpr BasicData(BasicBuffer<Size> buffer) noexcept
      : bytes_(buffer.data()), size_(buffer.size()) {}
  constexpr BasicData(std::nullptr_t) noexcept {}
  template <TextSource Source>
  constexpr BasicData(const Source& text) noexcept : BasicData(view_of(text)) {}
  template <std::size_t Length>
  constexpr BasicData(const char (&literal)[Length]) noexcept
      : BasicData(std::string_view(literal, Length).substr(0, end_of(literal))) {}
  template <std::size_t Length>
  constexpr BasicData(char (&array)[Length]) = delete;
  template <std::size_t Length>
  constexpr BasicData(const char8_t (&literal)[Length]) = delete;
  constexpr BasicData(std::string_view text) noexcept
      : bytes_(text.data()), size_(BasicBuffer<Size>::narrow(text.size())) {}
  template <ByteRange Source>
  constexpr BasicData(const Source& source) noexcept
      : BasicData(static_cast<const void*>(std::data(source)),
                  BasicBuffer<Size>::narrow(std::size(source))) {}

  constexpr const char* data() const noexcept { return bytes_; }
  constexpr Size size() const noexcept { return size_; }
  constexpr bool empty() const noexcept { return size_ == 0; }
  constexpr std::string_view view() const noexcept {
    return {bytes_, static_cast<std::size_t>(size_ < 0 ? 0 : size_)};
  }
  constexpr operator std::string_view() const noexcept { return view(); }

 private:
  template <typename Source>
  static constexpr std::string_view view_of(const Source& text) noexcept {
    if constexpr (std::is_pointer_v<Source>)
      return TextRef(text).view();
    else
      return text;
  }
  template <std::size_t Length>
  static constexpr std::size_t end_of(const char (&literal)[Length]) noexcept {
    return std::string_view(literal, Length).find('\0');  // npos: all of them
  }

  const char* bytes_ = nullptr;
  Size size_ = 0;
};

using Buffer = BasicBuffer<std::int32_t>;
using Data = BasicData<std::int32_t>;
using LongBuffer = BasicBuffer<std::int64_t>;
using LongData = BasicData<std::int64_t>;

}  // namespace kiv

#endif
