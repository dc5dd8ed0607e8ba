% The second part: trumpet in B-flat, written a tone above concert pitch.
\include "common.ily"
\include "ode-to-joy.ily"
\header { title = "Ode to Joy" instrument = "Trumpet in B♭" composer = "L. van Beethoven" }
\score { \transpose bes c' { \odeGlobal \odeMelody } \layout { } }
