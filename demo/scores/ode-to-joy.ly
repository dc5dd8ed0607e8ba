\include "common.ily"
\include "ode-to-joy.ily"
\header { title = "Ode to Joy" composer = "L. van Beethoven" }
\score { { \odeGlobal \odeMelody } \layout { } }
% One second of silence (a quarter at 60) before the first note.
\score {
  { \odeGlobal \set Staff.midiInstrument = "acoustic grand"
    \partial 4 \tempo 4 = 60 r4 \tempo 4 = 120 \odeMelody }
  \midi { }
}
