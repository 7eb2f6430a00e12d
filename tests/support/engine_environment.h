// engine_environment.h - every table of the engine filled once, before any test runs.
//
// The order is that of program start. The tables keep their default sizes; a test that wants
// others puts the defaults back.
#pragma once

// Run by corvantis_tests and corvantis_bench before anything else. Ends the program when
// memory is short.
void PrepareEngine();

// Start of a game: start position, empty search memory and limits, settings at their defaults,
// table sizes as they are. For the SetUp() of fixtures that change any of this.
void ResetEngine();
