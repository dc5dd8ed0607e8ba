// The follower page: the server's song, its sheet page by page and the
// cursor, animated here from the song's tics and the server's play clock.
// The server's clock is estimated by round trips over the stream: each one
// bounds the offset between the two clocks (the server read its clock
// somewhere inside the trip), the recent trips together bound it tightly,
// and the estimate moves towards the middle of those bounds a little at a
// time.
'use strict';
(() => {
  const $ = (id) => document.getElementById(id);
  const PING_EVERY_MS = 3000;
  const PINGS_PER_BURST = 5;
  const SAMPLES_KEPT = 25;   // the trips of about the last 15 s count
  const JUMP_MS = 50;        // a change this large is taken at once
  const SLEW_MS = 5;         // else at most this much per burst
  const PIN_KEY = 'mellivane-pin';
  const KEY_KEY = 'mellivane-key';
  const CLOSE_FULL = 1008;   // the server has all the followers it takes

  const st = {
    ws: null,
    song: null,
    part: 1,
    page: 1, top: 0,         // the view while no play runs
    playing: false,
    clock: null,             // {at, map, rate, tic}
    pageOffset: 0,           // in a play: page shown = tic's page + pageOffset
    topOverride: null,       // {tic, top}: a scroll by hand during a play
    offset: null,            // server ms - performance.now()
    samples: [],            // {low, high}: bounds on the offset, oldest first
    pin: localStorage.getItem(PIN_KEY) || '',
    // Opens the page images, and lets this device back in without the PIN
    // for a while after its connection broke; given with the welcome.
    key: localStorage.getItem(KEY_KEY) || '',
    closedForGood: false,
    timer: 0,
    log: [],                 // the last messages, for a look from the console
  };
  window.mellivane = st;

  // The server's clock now, by the estimate; null while unknown.
  st.serverNow = () => (st.offset === null ? null : performance.now() + st.offset);

  function send(o) {
    if (st.ws && st.ws.readyState === WebSocket.OPEN) st.ws.send(JSON.stringify(o));
  }

  // --- the server's clock -----------------------------------------------
  function pingBurst(n) {
    for (let i = 0; i < n; i++) setTimeout(() => send({ type: 'ping', c: performance.now() }), i * 40);
    setTimeout(endBurst, n * 40 + 500);
  }

  function onPong(m) {
    const now = performance.now();
    const rtt = now - m.c;
    if (!(rtt >= 0 && rtt < 5000) || !Number.isFinite(m.s)) return;
    const sample = { low: m.s - now, high: m.s - m.c };
    // A trip that leaves no room for the estimate: the server's clock jumped
    // (it restarted), and what was learnt is of another clock.
    if (st.offset !== null && (st.offset < sample.low - JUMP_MS || st.offset > sample.high + JUMP_MS)) {
      st.samples = [];
      st.offset = null;
    }
    st.samples.push(sample);
    if (st.samples.length > SAMPLES_KEPT) st.samples.shift();
  }

  // The middle of what the newest trips leave in common; older trips that
  // leave nothing in common with them are forgotten.
  function target() {
    const s = st.samples;
    let low = s[s.length - 1].low, high = s[s.length - 1].high;
    for (let i = s.length - 2; i >= 0; i--) {
      const l = Math.max(low, s[i].low), h = Math.min(high, s[i].high);
      if (l > h) { s.splice(0, i + 1); break; }
      low = l; high = h;
    }
    return (low + high) / 2;
  }

  function endBurst() {
    if (!st.samples.length) return;
    const goal = target();
    if (st.offset === null || Math.abs(goal - st.offset) > JUMP_MS) {
      st.offset = goal;
    } else {
      st.offset += Math.max(-SLEW_MS, Math.min(SLEW_MS, goal - st.offset));
    }
    render();
  }

  // --- the stream -----------------------------------------------------------
  function connect() {
    const ws = new WebSocket(`ws://${location.host}/stream`);
    st.ws = ws;
    ws.onopen = () => {
      status('');
      send({ type: 'hello', pin: st.pin, key: st.key, part: st.part });
      pingBurst(8);
    };
    ws.onmessage = (e) => {
      let m;
      try { m = JSON.parse(e.data); } catch (_) { return; }
      st.log.push(m);
      if (st.log.length > 200) st.log.shift();
      handle(m);
    };
    ws.onclose = (e) => {
      st.ws = null;
      // The server is full: trying again by itself would only knock on its
      // door every two seconds.  The reason is the "full" message's text.
      if (e.code === CLOSE_FULL) {
        st.closedForGood = true;
        if ($('message').hidden && e.reason) showMessage(e.reason);
      }
      if (st.closedForGood) return;
      status('Connection lost, trying again');
      setTimeout(connect, 2000);
    };
  }

  function handle(m) {
    switch (m.type) {
      case 'pong': return onPong(m);
      case 'pin': return askPin(m.wrong, m.wait || 0);
      case 'welcome':
        $('pinbox').hidden = true;
        if (st.pin) localStorage.setItem(PIN_KEY, st.pin);
        st.key = typeof m.key === 'string' ? m.key : '';
        localStorage.setItem(KEY_KEY, st.key);
        break;
      case 'full':
        st.closedForGood = true;
        showMessage(m.text);
        return;
      case 'song':
        fade(0);
        st.song = m;
        st.page = m.page; st.top = m.top;
        $('song').textContent = m.name || 'No song selected';
        $('partbox').hidden = !(m.pages2 && m.pages2.length);
        break;
      case 'clock':
        st.playing = true;
        st.clock = m;
        fade(0);
        break;
      case 'fade':
        fade(m.seconds);
        return;
      case 'stop':
        st.playing = false;
        st.clock = null;
        st.topOverride = null;
        break;
      case 'view':
        if (st.playing && st.song) {
          const tics = st.song.tics;
          const base = m.tic >= 0 && m.tic < tics.length ? tics[m.tic][1] : 1;
          st.pageOffset = m.page - base;
          st.topOverride = { tic: m.tic, top: m.top };
        }
        st.page = m.page; st.top = m.top;
        break;
      default: return;
    }
    render();
  }

  function askPin(wrong, wait) {
    $('pinbox').hidden = false;
    $('pinwrong').hidden = !wrong;
    // Too many wrong PINs of late, from anywhere: none is looked at for a
    // while.  The one typed is sent again then.
    $('pinwait').hidden = !(wait > 0);
    if (wait > 0) {
      $('pinwait').textContent = `Too many wrong PINs were tried. Trying again in ${wait} s.`;
      setTimeout(() => send({ type: 'hello', pin: st.pin, key: st.key, part: st.part }), wait * 1000);
    }
    $('pin').focus();
  }

  $('pinform').addEventListener('submit', (e) => {
    e.preventDefault();
    st.pin = $('pin').value.trim();
    send({ type: 'hello', pin: st.pin, key: st.key, part: st.part });
  });

  $('part2').addEventListener('change', () => {
    st.part = $('part2').checked ? 2 : 1;
    send({ type: 'part', part: st.part });
    render();
  });

  function status(text) { $('status').textContent = text; }

  function showMessage(text) {
    status('');
    $('message').textContent = text;
    $('message').hidden = false;
  }

  // The sheet dims while the music fades out; 0 brings it back at once.
  function fade(seconds) {
    const sheet = $('sheet');
    sheet.style.transition = seconds > 0 ? `opacity ${seconds}s linear` : 'none';
    sheet.style.opacity = seconds > 0 ? '0.35' : '1';
  }

  // --- what to show ---------------------------------------------------------
  // The last tic whose time has come, by the play clock; -1 before the first.
  function ticNow() {
    const c = st.clock;
    if (!st.playing || !c || !st.song) return -1;
    if (c.rate === 0 || st.offset === null) return c.tic;
    const map = c.map + (st.serverNow() - c.at) * c.rate;
    const tics = st.song.tics;
    let lo = 0, hi = tics.length; // first tic later than `map`
    while (lo < hi) {
      const mid = (lo + hi) >> 1;
      if (tics[mid][0] <= map) lo = mid + 1; else hi = mid;
    }
    return Math.max(lo - 1, c.tic);
  }

  // Server ms at which tic k falls due, by the clock; null when it never will.
  function dueOf(k) {
    const c = st.clock;
    if (!c || c.rate === 0 || st.offset === null || k >= st.song.tics.length) return null;
    return c.at + (st.song.tics[k][0] - c.map) / c.rate;
  }

  function imageWidth(css) {
    const px = Math.ceil(css * (window.devicePixelRatio || 1));
    return Math.min(2400, Math.max(200, Math.ceil(px / 100) * 100));
  }

  function render() {
    const song = st.song;
    if (!song) return;
    const two = st.part === 2 && song.pages2 && song.pages2.length > 0;
    const pages = two ? song.pages2 : song.pages;
    const tics = two ? song.tics2 : song.tics;
    const k = ticNow();
    let page = st.page, top = st.top, cursor = null;
    if (st.playing) {
      const t = k >= 0 && k < tics.length ? tics[k] : null;
      const fromOne = t ? t[1] : 1;
      page = fromOne + st.pageOffset;
      top = st.topOverride && st.topOverride.tic === k ? st.topOverride.top : (t ? t[4] : st.top);
      if (t) cursor = [t[2], t[3]];
    }
    page = Math.max(1, Math.min(pages.length || 1, page));
    const body = document.body.dataset;
    body.page = String(page);
    body.tic = String(k);
    body.cursor = cursor ? '1' : '0';
    if (!pages.length) {
      $('page').removeAttribute('src');
      $('cursor').hidden = true;
      return schedule(k);
    }
    const box = $('sheet');
    const width = box.clientWidth;
    const size = pages[page - 1];
    const scale = width / size[0];
    const src = `/sheet/${song.serial}/${two ? 2 : 1}/${page}/${imageWidth(width)}.png` +
      (st.key ? `?key=${encodeURIComponent(st.key)}` : '');
    const img = $('page');
    if (img.getAttribute('src') !== src) img.setAttribute('src', src);
    img.style.height = `${size[1] * scale}px`;
    $('pagebox').style.transform = `translateY(${-top * scale}px)`;
    const c = $('cursor');
    c.hidden = !cursor;
    if (cursor) {
      c.style.left = `${cursor[0] * scale}px`;
      c.style.top = `${cursor[1] * scale}px`;
      c.style.width = `${song.cursor[0] * scale}px`;
      c.style.height = `${song.cursor[1] * scale}px`;
    }
    schedule(k);
  }

  // The next tic is shown on its own timer, not at the next frame.
  function schedule(k) {
    clearTimeout(st.timer);
    if (!st.playing || !st.song) return;
    const due = dueOf(k + 1);
    if (due === null) return;
    st.timer = setTimeout(render, Math.max(0, due - st.serverNow()));
  }

  window.addEventListener('resize', render);
  setInterval(() => pingBurst(PINGS_PER_BURST), PING_EVERY_MS);
  connect();
})();
