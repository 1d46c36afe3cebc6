// Synthesis: from the spectrum and its gains back to samples. The stage itself is
// tekaNsx_DataSynthesis.
#pragma once

// Sets this stage's dispatch pointers to the functions here.
void use_portable_synthesis();
