/**
 * @file
 * For builds with the address sanitizer. Of several datasets of an item the library's tree leads to
 * the newest only; the records of the others stay allocated, and nothing can free them.
 */
extern "C" {
__attribute__((visibility("default"))) const char* __lsan_default_options() {
  return "print_suppressions=0";
}

__attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:read_dataset_basic_data\n";
}
}
