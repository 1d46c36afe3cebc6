// What AddressSanitizer does in a fuzzer: little freed memory is kept, and no history of it, or taking
// memory would be most of the time. ASAN_OPTIONS in the environment can ask for more.
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=2:thread_local_quarantine_size_kb=64:malloc_context_size=0";
}
