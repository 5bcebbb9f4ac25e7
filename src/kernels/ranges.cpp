#include "kernels/ranges.h"

constinit thread_local const tKwWorkers* CKwLent::s_workers = nullptr;
