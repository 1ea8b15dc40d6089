// Umbrella header: every public class header of the engine.
#ifndef ORVIL_ORVIL_H
#define ORVIL_ORVIL_H

#endif
