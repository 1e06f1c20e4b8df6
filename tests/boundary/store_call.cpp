// A call behind the platform's back, with the store's function declared by hand.
namespace kavo {
struct Task;
Task& load_task(int id);  // the linker does not see what a function returns
}  // namespace kavo

void call() {
  kavo::load_task(1);
}
