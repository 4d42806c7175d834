#pragma once

// Reads many rows. DBMSAPI_SQLAPI chooses the implementation, because the vendor's client layer lacks the
// faster functions.

#include <SQLAPI.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "port/Utf8.h"

// Requests the rows of the command's query in the server's binary format, if the client layer can.
// `withTimes` says that there are columns of type timestamptz.
void AskForBinary(SACommand& command, bool withTimes);

// Reads the text of a field.
void ReadText(const SAField& field, std::wstring& text);

// Whether the text of a field equals this one, in UTF-8.
bool HasText(const SAField& field, std::string_view utf8);

// Seconds from 1970 to the calendar fields of a time, as if they were in UTC.
std::int64_t CalendarSeconds(const SAField& field);

// Finds a row's tag in a map by tag name, or adds it. For consecutive rows of a tag, converts and looks up
// the name only once.
template <class Map>
class TagFinder {
 public:
  explicit TagFinder(Map& data) : data_(data) {}

  typename Map::value_type& Find(const SAField& name) {
    if (!tag_ || !HasText(name, utf8_)) {
      tag_ = &*data_.try_emplace(static_cast<const SAChar*>(name.asString())).first;
      utf8_ = sys::ToUtf8(tag_->first);
    }
    return *tag_;
  }

 private:
  Map& data_;
  typename Map::value_type* tag_ = nullptr;  // of the row before
  std::string utf8_;                         // its name
};
