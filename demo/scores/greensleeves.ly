\include "common.ily"
\header { title = "Greensleeves" composer = "Traditional" }
global = { \key a \minor \time 3/4 }
melody = \fixed c' {
  a4 |
  c'2 d'4 |
  e'4. f'8 e'4 |
  d'2 b4 |
  g4. a8 b4 | \break
  c'2 a4 |
  a4. gis8 a4 |
  b2 gis4 |
  e2 a4 | \break
  c'2 d'4 |
  e'4. f'8 e'4 |
  d'2 b4 |
  g4. a8 b4 | \break
  c'4. b8 a4 |
  gis4. fis8 gis4 |
  a2. |
  a2. | \break
  g'2. |
  g'4. fis'8 e'4 |
  d'2 b4 |
  g4. a8 b4 | \break
  c'2 a4 |
  a4. gis8 a4 |
  b2 gis4 |
  e2. | \break
  g'2. |
  g'4. fis'8 e'4 |
  d'2 b4 |
  g4. a8 b4 | \break
  c'4. b8 a4 |
  gis4. fis8 gis4 |
  a2. |
  a2. \bar "|."
}
\score { { \global \partial 4 \melody } \layout { } }
\score {
  { \global \set Staff.midiInstrument = "acoustic guitar (nylon)"
    \partial 2 \tempo 4 = 60 r4 \tempo 4 = 120 \melody }
  \midi { }
}
