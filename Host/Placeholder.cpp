// placeholder until the host lands
namespace fxhost { int placeholder() { return 0; } }
