// Included again it follows the present NDEBUG, so there is no guard.
#undef assert
#ifdef NDEBUG
#define assert(condition) ((void)0)
#else
extern "C" [[noreturn]] void __assert_rtn(const char* function, const char* file, int line, const char* condition);
#define assert(condition) \
  (__builtin_expect(!(condition), 0) ? __assert_rtn(__func__, __FILE__, __LINE__, #condition) : (void)0)
#endif
