// A descent through functions of every shape, in an order that a seed decides, with a fault at its end.
#pragma once

// Commits the fault, after printing the return addresses that a right trace has, innermost first, behind "--- truth".
void commit_random_descent(unsigned seed);
