#pragma once

class Suite;

// One function for each suite that `scripts/bench` knows; each adds what it measures.
void addDrag(Suite& suite);
void addLayout(Suite& suite);
void addPatients(Suite& suite);
void addStartup(Suite& suite);
void addTick(Suite& suite);
