#pragma once

// Names and numbers, texts, dates, errors and values of the client layer; part of SQLAPI.h.

#include <cstdint>
#include <ctime>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "SQLAPIExport.h"

using SAChar = wchar_t;
using sa_int32_t = std::int32_t;
using sa_int64_t = std::int64_t;
using sa_uint32_t = std::uint32_t;
using sa_uint64_t = std::uint64_t;

enum SAClient_t { SA_Client_NotSpecified = 0, SA_PostgreSQL_Client = 10 };

enum SAErrorClass_t {
  SA_No_Error = 0,
  SA_UserGenerated_Error = 1,
  SA_Library_Error = 2,  // wrong use of this layer: an unbound parameter, a text read as a number
  SA_DBMS_API_Error =
      3  // the server or the connection: native code 1: could not connect, 7: statement failed
};

enum SAIsolationLevel_t {
  SA_LevelUnknown = -1,
  SA_ReadUncommitted = 0,
  SA_ReadCommitted = 1,
  SA_RepeatableRead = 2,
  SA_Serializable = 3
};

enum SAAutoCommit_t { SA_AutoCommitUnknown = -1, SA_AutoCommitOff = 0, SA_AutoCommitOn = 1 };

namespace pq {
struct Cell;
}

// A wide text.
class SQLAPI_EXPORT SAString {
 public:
  SAString() = default;
  SAString(const SAChar* text);  // null reads as the empty text
  SAString(const SAChar* text, std::size_t length);
  SAString(const char* utf8);  // null reads as the empty text
  SAString(std::wstring text);
  SAString& operator=(const SAChar* text);  // null gives the empty text

  // The characters, NUL-terminated; valid until the text changes.
  operator const SAChar*() const { return text_.c_str(); }

  std::size_t GetLength() const { return text_.size(); }
  bool IsEmpty() const { return text_.empty(); }

  friend bool operator==(const SAString& a, const SAString& b) { return a.text_ == b.text_; }
  friend bool operator==(const SAString& a, const SAChar* b) { return a.text_ == b; }

 private:
  std::wstring text_;
};

// Marks an SQL NULL in a stream of parameters: `command << SANull()`.
class SANull {};

// Calendar fields as the server delivered them, in the session's time zone, to the nanosecond.
class SQLAPI_EXPORT SADateTime {
 public:
  SADateTime() = default;  // the empty date: every field 0
  SADateTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
             sa_uint32_t nanoseconds = 0);

  int GetYear() const { return year_; }
  int GetMonth() const { return month_; }  // 1 to 12
  int GetDay() const { return day_; }      // 1 to 31
  int GetHour() const { return hour_; }
  int GetMinute() const { return minute_; }
  int GetSecond() const { return second_; }
  int GetDayOfWeek() const;  // 1 (Sunday) to 7
  int GetDayOfYear() const;  // 1 to 366
  sa_uint32_t Fraction() const { return nanoseconds_; }

  // The same as a C library structure: years since 1900, months and days of the year from 0, tm_isdst -1
  // (unknown). The empty date gives a zeroed structure with tm_isdst -1.
  operator struct tm() const;

 private:
  int year_ = 0, month_ = 0, day_ = 0, hour_ = 0, minute_ = 0, second_ = 0;
  sa_uint32_t nanoseconds_ = 0;
};

class SQLAPI_EXPORT SAException : public std::exception {
 public:
  SAException(SAErrorClass_t errorClass, int nativeCode, SAString text, std::string sqlState = {});
  SAException(const SAException&) noexcept;
  SAException& operator=(const SAException&) noexcept;
  ~SAException() override;

  SAErrorClass_t ErrClass() const;
  int ErrNativeCode() const;
  SAString ErrText() const;
  // An extension of this layer: the five characters of the server's SQLSTATE ("42P01"). Empty when the server
  // did not report the failure: a class 2 error, a failed connect, a connection lost without a message.
  std::string SqlState() const;
  const char* what() const noexcept override;  // the text in UTF-8

 private:
  struct Details;
  std::shared_ptr<const Details> details_;  // shared, so that copying an exception cannot throw
};

// Reads one value of the current row. NULL reads as false, 0, the empty text or the empty date.
// A text that is not a number, or a number out of range of the requested type, is a class 2 error. Booleans
// read as 1 and 0; a number is true unless it is 0.
class SQLAPI_EXPORT SAValueRead {
 public:
  virtual ~SAValueRead();

  bool isNull() const;
  bool asBool() const;
  short asShort() const;
  sa_int32_t asLong() const;
  sa_int64_t asInt64() const;  // decimals of a numeric are cut toward zero
  double asDouble() const;
  SAString asString() const;  // the server's own text of any type
  // Years count astronomically (1 BC is 0). A text that is not a date, such as infinity, is a class 2 error.
  SADateTime asDateTime() const;

  // Extras of this layer, to read many rows.
  bool isText(std::string_view utf8) const;  // whether asString gives this text
  void readText(std::wstring& text) const;   // what asString gives, without a copy of it
  // Seconds from 1970 to the calendar fields of a timestamptz in binary, as if they were in UTC. False for
  // infinity and values of other kinds.
  bool readCalendarSeconds(sa_int64_t& seconds) const;

 protected:
  explicit SAValueRead(const pq::Cell* cell) : cell_(cell) {}

 private:
  const pq::Cell* cell_;  // owned by the statement that delivers the rows
};

// One column of a result.
class SQLAPI_EXPORT SAField : public SAValueRead {
 public:
  SAField(const pq::Cell* cell, SAString name) : SAValueRead(cell), name_(std::move(name)) {}
  const SAString& Name() const { return name_; }

 private:
  SAString name_;
};

// A value to be sent. Each writer returns a reference to assign to: `param.setAsLong() = 5`.
class SQLAPI_EXPORT SAValue {
 public:
  enum class Kind : unsigned char { Unbound, Null, Bool, Short, Long, Int64, Double, String };

  SAValue() = default;

  void setAsNull();
  bool& setAsBool();
  short& setAsShort();
  sa_int32_t& setAsLong();
  sa_int64_t& setAsInt64();
  double& setAsDouble();
  SAString& setAsString();

  Kind kind() const { return kind_; }
  bool isBound() const { return kind_ != Kind::Unbound; }
  bool boundBool() const { return scalar_.asBool; }
  short boundShort() const { return scalar_.asShort; }
  sa_int32_t boundLong() const { return scalar_.asLong; }
  sa_int64_t boundInt64() const { return scalar_.asInt64; }
  double boundDouble() const { return scalar_.asDouble; }
  const SAString& boundString() const { return text_; }

 private:
  Kind kind_ = Kind::Unbound;
  union {
    bool asBool;
    short asShort;
    sa_int32_t asLong;
    sa_int64_t asInt64 = 0;
    double asDouble;
  } scalar_;
  SAString text_;
};

// A parameter of a command: the value of one marker.
class SQLAPI_EXPORT SAParam : public SAValue {
 public:
  explicit SAParam(SAString name) : name_(std::move(name)) {}
  explicit SAParam(int number) : number_(number) {}
  const SAString& Name() const;  // "1" for `:1`

 private:
  mutable SAString name_;  // made on request for a number: a statement may have tens of thousands
  int number_ = 0;
};
