#pragma once

// Records of the configuration stores.

#include <cstdint>
#include <string>

// Communication state of one station.
struct NetworkStatusRecord {
  std::wstring station;
  std::wstring address;
  std::wstring description;
  std::wstring status;
  std::int32_t read = 0;        // read requests
  std::int32_t readErr = 0;     // failed reads
  std::int32_t readPerct = 0;   // read success in percent
  std::int32_t write = 0;       // write requests
  std::int32_t writeErr = 0;    // failed writes
  std::int32_t writePerct = 0;  // write success in percent
};

// One cell comment of a grid sheet.
struct CommentRecord {
  std::int32_t group_id = 0;  // sheet or group number
  std::int32_t row = 0;
  std::int32_t col = 0;
  std::wstring comment;
  std::wstring font;  // font description; empty: none (stored as NULL)
};

// The field layout of one recipe group of a model.
struct RecipeGroupRecord {
  std::wstring model_name;
  std::wstring group_name;
  std::wstring fields;  // JSON text
};

// One named recipe of a model.
struct RecipeRecord {
  std::wstring name;
  std::wstring fields;  // JSON text
  std::wstring description;
};

// One received IEC 61850 GOOSE message.
struct GooseMessageRecord {
  std::wstring GOOSE_ControlBlock_Ref;
  std::wstring DataSet;
  std::wstring GOOSE_ID;
  std::int32_t AllowedToLive = 0;  // milliseconds
  std::int32_t Structure_Number = 0;
  std::int32_t Sequence_Number = 0;
  bool simulation = false;
  bool ndsCom = false;
  std::wstring invalidityTime;  // decimal epoch milliseconds, as text
  bool stateValid = false;
  std::wstring srcMac;
  std::wstring dstMac;
  std::int32_t appId = 0;
  std::wstring dataSetValues;
  bool dataSetValuesSelfAllocated = false;
  bool dstMacSet = false;
  bool isObserver = false;
  bool vlanSet = false;
  std::int32_t vlanId = 0;
  std::int32_t vlanPrio = 0;
};
