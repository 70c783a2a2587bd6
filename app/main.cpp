#include "ui/run_window.h"

int main(int argc, char* argv[]) {
    return kelvane::RunKelvaneWindow(argc, argv);
}
