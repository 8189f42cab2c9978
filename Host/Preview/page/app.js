// The preview page: controls made from /api/effect, frames from /api/frame. Each view (the
// rendered frame, the input) has one request in flight at most and remembers only the newest
// setting wanted meanwhile, so a fast drag sends few requests and frames never arrive out of order.
'use strict';

const PROXY_WIDTH = 960;   // proxies while dragging are about this wide
const SETTLE_MS = 180;     // a slider this long at rest gets the exact frame

const $ = (id) => document.getElementById(id);
const client = Array.from(crypto.getRandomValues(new Uint8Array(8)), (b) => b.toString(16).padStart(2, '0')).join('');

const state = {
  effect: null,
  values: [],         // by parameter, in /api/effect's order
  touched: [],        // by parameter: changed on the page, so sent as a constant; else its start (keys) holds
  frame: 0,
  interacting: false, // a slider or the scrubber is held
  lastChange: 0,
  mode: 'split',      // split, after, before, difference
  holdBefore: false,
  split: 0.5,         // divider, as a fraction of the viewer's width
  fit: true,
  zoom: 1,            // screen pixels (CSS) per image pixel
  panX: 0, panY: 0,   // where the image's top left is, in CSS pixels
  images: { after: null, before: null },
};

function formatValue(value, step) {
  const decimals = Math.max(0, -Math.floor(Math.log10(step)));
  return Number(value.toFixed(decimals)).toString();
}

function setQuery() {
  const query = new URLSearchParams();
  state.effect.parameters.forEach((p, i) => {
    if (state.touched[i]) query.append('set', `${p.name}=${state.values[i]}`);
  });
  if (state.effect.frames) query.set('frame', String(state.frame));
  return query;
}

// A parameter's keys ("V@F,V@F"), as /api/effect gives them, at a frame: linear between keys,
// held before the first and after the last, as the host answers the effect.
function keyedValue(keys, frame) {
  const points = keys.split(',').map((key) => key.split('@').map(Number))
    .map(([value, at]) => ({ value, at })).sort((a, b) => a.at - b.at);
  if (frame <= points[0].at) return points[0].value;
  for (let k = 1; k < points.length; ++k) {
    if (frame <= points[k].at) {
      const a = points[k - 1], b = points[k];
      return a.value + (b.value - a.value) * (frame - a.at) / (b.at - a.at);
    }
  }
  return points[points.length - 1].value;
}

function showStatus(text, isError) {
  const status = $('status');
  status.textContent = text;
  status.classList.toggle('error', Boolean(isError));
}

// One view's requests: one in flight, the newest wanted one waiting, older wishes forgotten.
class View {
  constructor(name) {
    this.name = name;
    this.busy = false;
    this.wanted = null;
    this.sequence = 0;
    this.shown = 0;
    this.sent = 0;
  }

  want(request) {
    this.wanted = request;
    this.pump();
  }

  async pump() {
    if (this.busy || !this.wanted) return;
    const request = this.wanted;
    this.wanted = null;
    this.busy = true;
    const sequence = ++this.sequence;
    this.sent += 1;
    if (this.name === 'after') showStatus(request.proxy ? 'rendering proxy…' : 'rendering…');
    const query = new URLSearchParams(request.query);
    query.set('view', this.name);
    query.set('client', client);
    if (request.proxy) {
      query.set('scale', String(request.scale));
      query.set('format', 'jpeg');
    }
    const started = performance.now();
    try {
      const response = await fetch(`/api/frame?${query}`, { cache: 'no-store', credentials: 'same-origin' });
      if (response.status === 200) {
        const blob = await response.blob();
        // The stored values as they are: no colour management, no premultiplication.
        const bitmap = await createImageBitmap(blob, { colorSpaceConversion: 'none', premultiplyAlpha: 'none' });
        if (sequence > this.shown) {
          this.shown = sequence;
          receive(this.name, bitmap, request, Number(response.headers.get('X-Render-Ms')),
                  performance.now() - started);
        } else {
          bitmap.close();
        }
      } else if (response.status !== 204) {
        showStatus(`${response.status}: ${(await response.text()).trim()}`, true);
      }
    } catch (error) {
      showStatus(`no answer from fxhost: ${error.message}`, true);
    } finally {
      this.busy = false;
      if (this.wanted) this.pump();
      else settleLater();
    }
  }
}

const views = { after: new View('after'), before: new View('before') };

function proxyScale() {
  const scale = PROXY_WIDTH / state.effect.width;
  if (scale >= 1) return 1;
  return 2 ** Math.floor(Math.log2(scale)) || 1 / 16;
}

// Asks both views for the current setting: a proxy while something is held, else the exact frame.
function update() {
  const useProxy = $('proxy-enabled').checked && (state.interacting || performance.now() - state.lastChange < SETTLE_MS);
  const scale = useProxy ? proxyScale() : 1;
  const request = { query: setQuery().toString(), proxy: scale < 1, scale, frame: state.frame };
  for (const name of ['after', 'before']) {
    const current = state.images[name];
    const needed = name === 'after' ? request.query : String(state.frame);
    const have = current && (name === 'after' ? current.request.query : String(current.request.frame));
    const haveExact = current && !current.request.proxy;
    if (have === needed && (haveExact || request.proxy)) continue;
    const waiting = views[name].wanted;
    if (waiting && waiting.query === request.query && waiting.proxy === request.proxy) continue;
    views[name].want(request);
  }
  settleLater();
}

let settleTimer = 0;
function settleLater() {
  clearTimeout(settleTimer);
  settleTimer = setTimeout(() => {
    if (!state.interacting) update();
  }, SETTLE_MS);
}

function changed() {
  state.lastChange = performance.now();
  showCommand();
  update();
}

function receive(name, bitmap, request, renderMs, totalMs) {
  const old = state.images[name];
  let probe = null;
  if (!request.proxy) {
    // A copy to read exact pixel values from.
    const canvas = new OffscreenCanvas(bitmap.width, bitmap.height);
    probe = canvas.getContext('2d', { willReadFrequently: true });
    probe.drawImage(bitmap, 0, 0);
  }
  state.images[name] = { bitmap, request, probe };
  if (old && old.bitmap !== bitmap) old.bitmap.close();
  if (name === 'after') {
    const kind = request.proxy ? `proxy 1/${Math.round(1 / request.scale)}` : 'full resolution';
    showStatus(`${kind} · render ${renderMs.toFixed(0)} ms · shown after ${totalMs.toFixed(0)} ms`);
    $('viewer').dataset.shown = request.proxy ? 'proxy' : 'exact';
    $('viewer').dataset.query = request.query;
    $('viewer').dataset.frame = String(request.frame);
  }
  draw();
  updateProbe();
}

// ---- parameters ----

function stepsOf(p) {
  const range = p.max - p.min;
  const small = 10 ** Math.floor(Math.log10(range / 100));
  return { fine: small / 10, small, large: small * 10 };
}

function buildParameters() {
  const box = $('parameters');
  state.effect.parameters.forEach((p, i) => {
    const steps = stepsOf(p);
    const row = document.createElement('div');
    row.className = 'parameter';
    const id = `parameter-${i}`;
    const label = document.createElement('label');
    label.htmlFor = id;
    label.textContent = p.keys ? `${p.name} (keyed)` : p.name;
    if (p.keys) label.title = `Keys ${p.keys}: moving the slider replaces them with one value`;
    const line = document.createElement('div');
    line.className = 'row';
    const slider = Object.assign(document.createElement('input'), {
      type: 'range', id, min: p.min, max: p.max, step: steps.fine, value: p.value,
      title: `${p.name}: ${p.min} to ${p.max}, default ${p.default}. Double-click to reset.`,
    });
    const number = Object.assign(document.createElement('input'), {
      type: 'number', min: p.min, max: p.max, step: steps.fine, value: formatValue(p.value, steps.fine),
    });
    number.setAttribute('aria-label', `${p.name} value`);
    const show = (from) => {
      if (from !== slider) slider.value = String(state.values[i]);
      if (from !== number) number.value = formatValue(state.values[i], steps.fine);
    };
    const set = (value, from) => {
      const clamped = Math.min(p.max, Math.max(p.min, value));
      state.values[i] = Number(clamped.toFixed(12));
      state.touched[i] = true;
      slider.dataset.touched = 'true';
      // The keys are gone from what is sent: the label stops saying they are there.
      label.textContent = p.name;
      label.removeAttribute('title');
      show(from);
      changed();
    };
    // Untouched keys show their value at the frame on screen.
    p.follow = (frame) => {
      if (!p.keys || state.touched[i]) return;
      state.values[i] = keyedValue(p.keys, frame);
      show(null);
    };
    slider.addEventListener('input', () => set(Number(slider.value), slider));
    slider.addEventListener('pointerdown', () => { state.interacting = true; });
    slider.addEventListener('dblclick', () => set(p.default));
    slider.addEventListener('keydown', (event) => {
      const direction = { ArrowRight: 1, ArrowUp: 1, ArrowLeft: -1, ArrowDown: -1 }[event.key];
      if (!direction) return;
      event.preventDefault();
      const step = event.shiftKey ? steps.large : steps.small;
      set(Math.round((state.values[i] + direction * step) / step) * step);
    });
    number.addEventListener('change', () => {
      const value = Number(number.value);
      if (number.value.trim() === '' || !Number.isFinite(value)) {
        number.value = formatValue(state.values[i], steps.fine);
        return;
      }
      set(value, number);
    });
    number.addEventListener('dblclick', () => set(p.default));
    line.append(slider, number);
    row.append(label, line);
    box.append(row);
    state.values[i] = p.value;
    p.reset = () => set(p.default);
  });
  $('reset-all').addEventListener('click', () => state.effect.parameters.forEach((p) => p.reset()));
}

window.addEventListener('pointerup', () => {
  if (!state.interacting) return;
  state.interacting = false;
  settleLater();
});

// ---- frames ----

function buildFrames() {
  const frames = state.effect.frames;
  state.frame = frames ? frames[0] : 0;
  if (!frames) return;
  $('frame-controls').hidden = false;
  const slider = $('frame-slider');
  const number = $('frame-number');
  for (const input of [slider, number]) {
    input.min = frames[0];
    input.max = frames[1];
    input.value = frames[0];
  }
  $('frame-range').textContent = `${frames[0]}–${frames[1]}`;
  slider.addEventListener('input', () => setFrame(Number(slider.value)));
  slider.addEventListener('pointerdown', () => { state.interacting = true; });
  number.addEventListener('change', () => setFrame(Number(number.value)));
}

function setFrame(frame) {
  const frames = state.effect.frames;
  if (!frames || !Number.isInteger(frame)) return;
  state.frame = Math.min(frames[1], Math.max(frames[0], frame));
  state.effect.parameters.forEach((p) => p.follow(state.frame));
  $('frame-slider').value = state.frame;
  $('frame-number').value = state.frame;
  changed();
}

// ---- the viewer ----

const canvas = $('canvas');
const viewer = $('viewer');

function fitView() {
  const width = viewer.clientWidth, height = viewer.clientHeight;
  state.zoom = Math.min(width / state.effect.width, height / state.effect.height);
  state.panX = (width - state.effect.width * state.zoom) / 2;
  state.panY = (height - state.effect.height * state.zoom) / 2;
  state.fit = true;
}

function zoomTo(zoom, x, y) {
  const clamped = Math.min(64, Math.max(1 / 64, zoom));
  state.panX = x - (x - state.panX) * (clamped / state.zoom);
  state.panY = y - (y - state.panY) * (clamped / state.zoom);
  state.zoom = clamped;
  state.fit = false;
  draw();
}

function oneToOne() {
  // One image pixel per device pixel, the image's centre kept where it is.
  const ratio = window.devicePixelRatio || 1;
  const cx = state.panX + (state.effect.width * state.zoom) / 2;
  const cy = state.panY + (state.effect.height * state.zoom) / 2;
  state.zoom = 1 / ratio;
  state.panX = Math.round((cx - (state.effect.width * state.zoom) / 2) * ratio) / ratio;
  state.panY = Math.round((cy - (state.effect.height * state.zoom) / 2) * ratio) / ratio;
  state.fit = false;
  draw();
}

function shownMode() {
  return state.holdBefore ? 'before' : state.mode;
}

function draw() {
  const ratio = window.devicePixelRatio || 1;
  const width = viewer.clientWidth, height = viewer.clientHeight;
  if (canvas.width !== Math.round(width * ratio) || canvas.height !== Math.round(height * ratio)) {
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
  }
  if (state.fit) fitView();
  const context = canvas.getContext('2d');
  context.setTransform(1, 0, 0, 1, 0, 0);
  context.clearRect(0, 0, canvas.width, canvas.height);
  // Magnified pixels stay square; only a reduced view is filtered.
  context.imageSmoothingEnabled = state.zoom * ratio < 1;
  const x = Math.round(state.panX * ratio), y = Math.round(state.panY * ratio);
  const w = state.effect.width * state.zoom * ratio, h = state.effect.height * state.zoom * ratio;
  const mode = shownMode();
  const paint = (image, clipLeft, clipRight) => {
    if (!image) return;
    context.save();
    context.beginPath();
    context.rect(clipLeft, 0, clipRight - clipLeft, canvas.height);
    context.clip();
    context.drawImage(image.bitmap, x, y, w, h);
    context.restore();
  };
  const divider = Math.round(state.split * canvas.width);
  if (mode === 'split') {
    paint(state.images.before, 0, divider);
    paint(state.images.after, divider, canvas.width);
  } else if (mode === 'difference') {
    // |after - before| per channel: what the effect changed, black where it changed nothing.
    paint(state.images.before, 0, canvas.width);
    context.globalCompositeOperation = 'difference';
    paint(state.images.after, 0, canvas.width);
    context.globalCompositeOperation = 'source-over';
  } else {
    paint(state.images[mode], 0, canvas.width);
  }
  // Where the image is drawn, in canvas pixels: x, y and image pixels per canvas pixel.
  viewer.dataset.origin = `${x},${y},${state.zoom * ratio}`;
  viewer.dataset.mode = mode;
  $('divider').hidden = mode !== 'split';
  $('divider').style.left = `${state.split * 100}%`;
  document.querySelector('.corner.left').hidden = mode === 'after';
  document.querySelector('.corner.right').hidden = mode === 'before' || mode === 'difference';
  document.querySelector('.corner.left').textContent =
    { split: 'before', before: 'input', difference: 'difference' }[mode] || '';
  $('zoom-level').textContent = state.fit ? `fit (${Math.round(state.zoom * ratio * 100)}%)`
                                          : `${Math.round(state.zoom * ratio * 100)}%`;
}

function setMode(mode) {
  state.mode = mode;
  for (const name of ['split', 'after', 'before', 'difference']) {
    $(`mode-${name}`).setAttribute('aria-pressed', String(name === mode));
  }
  draw();
}

let pointer = null;  // the viewer's pointer position, CSS pixels
let panning = null;

function buildViewer() {
  new ResizeObserver(() => draw()).observe(viewer);
  viewer.addEventListener('wheel', (event) => {
    event.preventDefault();
    const rect = viewer.getBoundingClientRect();
    zoomTo(state.zoom * Math.exp(-event.deltaY * 0.002), event.clientX - rect.left, event.clientY - rect.top);
  }, { passive: false });
  viewer.addEventListener('pointerdown', (event) => {
    if (event.target === $('divider')) return;
    viewer.focus();
    panning = { x: event.clientX, y: event.clientY, panX: state.panX, panY: state.panY };
    viewer.setPointerCapture(event.pointerId);
    viewer.classList.add('panning');
  });
  viewer.addEventListener('pointermove', (event) => {
    const rect = viewer.getBoundingClientRect();
    pointer = { x: event.clientX - rect.left, y: event.clientY - rect.top };
    if (panning) {
      state.panX = panning.panX + event.clientX - panning.x;
      state.panY = panning.panY + event.clientY - panning.y;
      state.fit = false;
      draw();
    }
    updateProbe();
  });
  viewer.addEventListener('pointerup', () => {
    panning = null;
    viewer.classList.remove('panning');
  });
  viewer.addEventListener('pointerleave', () => {
    pointer = null;
    updateProbe();
  });
  const divider = $('divider');
  divider.addEventListener('pointerdown', (event) => {
    event.stopPropagation();
    divider.setPointerCapture(event.pointerId);
    const move = (e) => {
      const rect = viewer.getBoundingClientRect();
      state.split = Math.min(1, Math.max(0, (e.clientX - rect.left) / rect.width));
      draw();
    };
    divider.addEventListener('pointermove', move);
    divider.addEventListener('pointerup', () => divider.removeEventListener('pointermove', move), { once: true });
  });
  divider.addEventListener('keydown', (event) => {
    const direction = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (!direction) return;
    event.preventDefault();
    state.split = Math.min(1, Math.max(0, state.split + direction * (event.shiftKey ? 0.1 : 0.01)));
    draw();
  });
  for (const mode of ['split', 'after', 'before', 'difference']) {
    $(`mode-${mode}`).addEventListener('click', () => setMode(mode));
  }
  $('zoom-fit').addEventListener('click', () => { state.fit = true; draw(); });
  $('zoom-one').addEventListener('click', oneToOne);
  $('proxy-enabled').addEventListener('change', update);
}

function pixelText(image, x, y) {
  if (!image) return '–';
  if (!image.probe) return 'proxy shown; exact values once it rests';
  const [r, g, b, a] = image.probe.getImageData(x, y, 1, 1).data;
  return `${r} ${g} ${b} ${a}`;
}

function updateProbe() {
  const ratio = window.devicePixelRatio || 1;
  if (!pointer || !state.effect) {
    $('probe-xy').textContent = '–';
    $('probe-before').textContent = '–';
    $('probe-after').textContent = '–';
    return;
  }
  // The image pixel under the pointer, as draw() placed the image (its origin on whole canvas pixels).
  const x = Math.floor((pointer.x * ratio - Math.round(state.panX * ratio)) / (state.zoom * ratio));
  const y = Math.floor((pointer.y * ratio - Math.round(state.panY * ratio)) / (state.zoom * ratio));
  if (x < 0 || y < 0 || x >= state.effect.width || y >= state.effect.height) {
    $('probe-xy').textContent = 'outside the frame';
    $('probe-before').textContent = '–';
    $('probe-after').textContent = '–';
    return;
  }
  $('probe-xy').textContent = `${x}, ${y}`;
  $('probe-before').textContent = pixelText(state.images.before, x, y);
  $('probe-after').textContent = pixelText(state.images.after, x, y);
}

// ---- keys ----

function typing(target) {
  return target instanceof HTMLInputElement || target instanceof HTMLTextAreaElement;
}

function buildKeys() {
  document.addEventListener('keydown', (event) => {
    if (event.key === 'Escape') $('help').hidden = true;
    if (typing(event.target) || event.ctrlKey || event.metaKey || event.altKey) return;
    const key = event.key.toLowerCase();
    if (key === 'b' && !event.repeat) {
      state.holdBefore = true;
      draw();
    } else if (key === 's') setMode('split');
    else if (key === 'a') setMode('after');
    else if (key === 'i') setMode('before');
    else if (key === 'd') setMode('difference');
    else if (key === 'f') { state.fit = true; draw(); }
    else if (key === '1') oneToOne();
    else if (event.key === '?') $('help').hidden = !$('help').hidden;
    else if (state.effect.frames && (key === ',' || key === '.' || key === '<' || key === '>' ||
             ((key === 'arrowleft' || key === 'arrowright') && event.target !== $('divider')))) {
      event.preventDefault();
      const direction = key === ',' || key === '<' || key === 'arrowleft' ? -1 : 1;
      setFrame(state.frame + direction * (event.shiftKey ? 10 : 1));
    }
  });
  document.addEventListener('keyup', (event) => {
    if (event.key.toLowerCase() === 'b' && state.holdBefore) {
      state.holdBefore = false;
      draw();
    }
  });
  window.addEventListener('blur', () => {
    if (!state.holdBefore) return;
    state.holdBefore = false;
    draw();
  });
}

// ---- the command line ----

// The words /api/command writes, made here from the values as they stand, so that the line shown
// (and copied) is never behind the sliders: a word quoted as a POSIX shell reads it back, and a
// number with the fewest digits, from 6, that read back as the same double (%g's layout).
function shellQuote(word) {
  return /^[A-Za-z0-9_\-+=./:,@%]+$/.test(word) ? word : `'${word.replace(/'/g, "'\\''")}'`;
}

function gFormat(value, digits) {
  if (value === 0) return Object.is(value, -0) ? '-0' : '0';
  const exponent = Number(value.toExponential(digits - 1).split('e')[1]);
  const trim = (text) => (text.includes('.') ? text.replace(/0+$/, '').replace(/\.$/, '') : text);
  if (exponent < -4 || exponent >= digits) {
    const [mantissa, power] = value.toExponential(digits - 1).split('e');
    const sign = power.startsWith('-') ? '-' : '+';
    return `${trim(mantissa)}e${sign}${power.replace(/^[-+]/, '').padStart(2, '0')}`;
  }
  return trim(value.toFixed(digits - 1 - exponent));
}

function exactNumber(value) {
  let text = '';
  for (let digits = 6; digits <= 17; digits += 1) {
    text = gFormat(value, digits);
    if (Number(text) === value) break;
  }
  return text;
}

function showCommand() {
  const { command, parameters, frames } = state.effect;
  const words = [command.head];
  parameters.forEach((p, i) => {
    const text = state.touched[i] ? exactNumber(Number(state.values[i])) : p.keys ?? exactNumber(p.value);
    words.push('--set', shellQuote(`${p.name}=${text}`));
  });
  if (frames) words.push('--frames', String(state.frame));
  words.push(command.tail);
  $('command').textContent = words.join(' ');
  const look = setQuery();
  look.delete('frame');
  $('download-look').href = `/api/look?${look}`;
}

function buildCommand() {
  $('copy-command').addEventListener('click', async () => {
    const text = $('command').textContent;
    try {
      await navigator.clipboard.writeText(text);
      $('copy-command').textContent = 'Copied';
    } catch (error) {
      // Without clipboard access the text is selected, for Ctrl-C.
      const range = document.createRange();
      range.selectNodeContents($('command'));
      getSelection().removeAllRanges();
      getSelection().addRange(range);
      $('copy-command').textContent = 'Selected: press Ctrl-C';
    }
    setTimeout(() => { $('copy-command').textContent = 'Copy'; }, 1500);
  });
}

async function start() {
  const response = await fetch('/api/effect', { cache: 'no-store', credentials: 'same-origin' });
  if (!response.ok) {
    showStatus(`${response.status}: ${(await response.text()).trim()}`, true);
    return;
  }
  state.effect = await response.json();
  $('effect-name').textContent = `${state.effect.effect} · ${state.effect.width}×${state.effect.height}`;
  document.title = `${state.effect.effect} – fxhost preview`;
  buildParameters();
  buildFrames();
  buildViewer();
  buildKeys();
  buildCommand();
  draw();
  update();
  showCommand();
}

start();
