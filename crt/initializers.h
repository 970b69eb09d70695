// Running the static initialisers and destructors of an image.
#pragma once

namespace crt {

// Runs the image's static initialisers in link order. Called once, before DllMain or main.
void run_initializers();

// Runs what the initialisers registered with atexit, last first. Called once, when the image goes.
void run_exit_functions();

} // namespace crt
