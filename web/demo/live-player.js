// Live playback for the demo page: the sound looped through the chain's nodes in a real-time
// AudioContext, with an A/B switch between the effects (B) and the dry input (A).
import { OstranaEffects, OstranaEffectNode } from "../dist/index.js";

export class LivePlayer {
  constructor() {
    this.live = null; // { context, source, nodes: Map(item id -> node), dry, wet }
    this.bypass = false;
  }

  get playing() {
    return this.live !== null;
  }

  // Plays buffer looped through the items ({ id, type, values }) in order.
  async start(buffer, items) {
    const context = new AudioContext({ sampleRate: buffer.sampleRate });
    await OstranaEffects.load(context);
    const channels = buffer.numberOfChannels;
    const source = new AudioBufferSourceNode(context, { buffer, loop: true });
    const dry = new GainNode(context);
    const wet = new GainNode(context);
    const nodes = new Map();
    let previous = source;
    for (const item of items) {
      const node = new OstranaEffectNode(context, item.type, { channels, ...item.values });
      nodes.set(item.id, node);
      previous.connect(node);
      previous = node;
    }
    previous.connect(wet).connect(context.destination);
    source.connect(dry).connect(context.destination);
    this.live = { context, source, nodes, dry, wet };
    this.applyBypass();
    source.start();
  }

  stop() {
    if (!this.live) return;
    this.live.source.stop();
    for (const node of this.live.nodes.values()) node.dispose();
    this.live.context.close();
    this.live = null;
  }

  setBypass(bypass) {
    this.bypass = bypass;
    this.applyBypass();
  }

  applyBypass() {
    if (!this.live) return;
    const { context, dry, wet } = this.live;
    dry.gain.setValueAtTime(this.bypass ? 1 : 0, context.currentTime);
    wet.gain.setValueAtTime(this.bypass ? 0 : 1, context.currentTime);
  }

  // One parameter of a playing item, now.
  setValue(item, name, value) {
    const node = this.live?.nodes.get(item.id);
    if (node) node.parameters.get(name).setValueAtTime(value, node.context.currentTime);
  }
}
