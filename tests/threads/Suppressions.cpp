// What the thread sanitizer cannot see to be in order.

// The C library guards its time zone with a lock of its own, which the sanitizer does not know.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "race:tzset_internal\n";
}
