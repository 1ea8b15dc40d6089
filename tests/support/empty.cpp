// Keeps the test support library non-empty while it has no shared helpers.
namespace orvil_test_support {
int placeholder() { return 0; }
}
