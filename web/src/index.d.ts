// Type declarations of the ostrana-effects package.

export type ParameterKind = "switch" | "whole number" | "real number";

export interface ParameterDefinition {
  name: string;
  kind: ParameterKind;
  defaultValue: number;
  minValue: number;
  maxValue: number;
  /** "ms", "s", "Hz", "dB", "deg" or "" */
  unit: string;
  /** "milliseconds", "seconds", "hertz", "decibels", "degrees" or "none" */
  unitName: string;
  description: string;
}

export interface Preset {
  /** "slapback", "long-echo", ... */
  name: string;
  /** "Slapback", "Long echo", ... */
  displayName: string;
  /** every parameter: the preset's own settings, the defaults for the rest */
  parameters: Record<string, number>;
}

export interface EffectType {
  /** "delay", "ping-pong-delay", "chorus", "flanger", "vibrato" */
  shortName: string;
  /** "AudioEffects.Delay" and so on */
  typeName: string;
  displayName: string;
  minChannels: number;
  maxChannels: number;
  parameters: ParameterDefinition[];
  presets: Preset[];
}

export interface Catalogue {
  nodeTypes: EffectType[];
}

/** An effect's settings: what toJSON gives and chain and renderOffline take. */
export interface EffectSettings {
  type: string;
  parameters?: Record<string, number>;
}

export type ChainItem = OstranaEffectNode | EffectSettings | string;

export interface EffectsModuleInstance {
  catalogue(): Catalogue;
  allocationCount(): number;
  demoSignal(): { sampleRate: number; channels: [Float32Array, Float32Array] };
}

export declare const OstranaEffects: {
  readonly catalogue: Catalogue;
  readonly effects: string[];
  /** Compiles the module (once per page) and adds the worklet to the context (once per context). */
  load(context: BaseAudioContext): Promise<WebAssembly.Module>;
  /** The module on the calling thread: catalogue, demo signal, allocation count. */
  instantiate(): Promise<EffectsModuleInstance>;
};

export interface EffectNodeOptions {
  /** Channels of the node's input (mixed to this count) and output; 2 by default. */
  channels?: number;
  /** Initial parameter values by name. */
  [parameter: string]: number | undefined;
}

export interface EffectStats {
  quanta: number;
  gaps: number;
  refusals: number;
  allocations: number;
}

export declare class OstranaEffectNode extends AudioWorkletNode {
  constructor(context: BaseAudioContext, type: string, options?: EffectNodeOptions);
  readonly type: string;
  readonly typeName: string;
  readonly displayName: string;
  readonly definitions: ParameterDefinition[];
  readonly presets: Preset[];
  applyPreset(name: string): void;
  set(values: Record<string, number>): void;
  /** Disconnects the node and ends its processor, freeing its WebAssembly instance. */
  dispose(): void;
  resetStats(): void;
  stats(): Promise<EffectStats>;
  toJSON(): Required<EffectSettings>;
  /** Each parameter's AudioParam is also a property under its name. */
  [parameter: string]: unknown;
}

export interface EffectChain {
  input: GainNode;
  output: GainNode;
  nodes: OstranaEffectNode[];
  toJSON(): Required<EffectSettings>[];
}

export declare function findType(name: string): EffectType | undefined;
export declare function channelGroups(type: EffectType, channels: number): number[] | null;
export declare function chain(
  context: BaseAudioContext,
  effects: ChainItem[],
  options?: { channels?: number },
): EffectChain;
export declare function renderOffline(
  buffer: AudioBuffer,
  effects: ChainItem[],
  options?: { tail?: number },
): Promise<AudioBuffer>;
export declare function encodeWav(channels: Float32Array[], sampleRate: number): ArrayBuffer;
export declare function audioBufferToWav(buffer: AudioBuffer): ArrayBuffer;
