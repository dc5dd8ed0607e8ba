% The mix: the melody over a bass line; shares the plain song's sheet and map.
\include "common.ily"
\include "ode-to-joy.ily"
\score {
  <<
    \new Staff { \odeGlobal \set Staff.midiInstrument = "acoustic grand"
                 \partial 4 \tempo 4 = 60 r4 \tempo 4 = 120 \odeMelody }
    \new Staff { \odeGlobal \set Staff.midiInstrument = "cello"
                 \partial 4 r4 \odeBass }
  >>
  \midi { }
}
