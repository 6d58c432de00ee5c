#pragma once

class Suite;

// One function for each suite that `scripts/bench` knows; each adds what it measures.
void addDrag(Suite& suite);
void addFrame(Suite& suite);
void addImage(Suite& suite);
void addLayout(Suite& suite);
void addLoad(Suite& suite);
void addLog(Suite& suite);
void addMemory(Suite& suite);
void addModules(Suite& suite);
void addOverlay(Suite& suite);
void addPatients(Suite& suite);
void addPoll(Suite& suite);
void addSave(Suite& suite);
void addSettings(Suite& suite);
void addStall(Suite& suite);
void addStartup(Suite& suite);
void addTick(Suite& suite);
