{ SPDX-FileCopyrightText: 2026 The zormidi authors }
{ SPDX-License-Identifier: MIT }

{ The library from Delphi and Free Pascal: plays a scale on the first output port, then prints what
  came in. On Windows ZORMIDI.DLL of the program's width lies beside it. }
program host;

{$ifdef FPC}{$mode delphi}{$endif}
{$apptype console}

uses SysUtils;

const
{$ifdef MSWINDOWS}
  Zor = 'ZORMIDI.DLL';
{$else}
  Zor = 'zormidi';
{$endif}
  InputQueue = 0;
  OutputQueue = 1;
  Scale: array[0..7] of Byte = (60, 62, 64, 65, 67, 69, 71, 72);

type
  TMIDIEvent = packed record
    Time, Etime: Integer;
    Channel: SmallInt;
    Length, Status, Data1, Data2: Byte;
  end;

{ On 64 bits and on Linux stdcall is ignored: there is only one calling convention. }
function MIDISysInit(again: Byte): SmallInt; stdcall; external Zor;
function MIDISysTerm: Byte; stdcall; external Zor;
function ZorAllocMIDI(queue, slots: SmallInt): Byte; stdcall; external Zor;
function ZorStartMIDI(timer: Byte): Byte; stdcall; external Zor;
function ZorStopMIDI: Byte; stdcall; external Zor;
function ZorXmit(queue: Word; var e: TMIDIEvent): Byte; stdcall; external Zor;
function ZorXmitEmpty(wait: Byte): Byte; stdcall; external Zor;
function ZorRcv(var e: TMIDIEvent; peek: Byte): Byte; stdcall; external Zor;
function ZorTimeMIDI(reset: Byte): Integer; stdcall; external Zor;

procedure Queue(time: Integer; size, status, data1, data2: Byte);
var
  e: TMIDIEvent;
begin
  FillChar(e, SizeOf(e), 0);
  e.Time := time;
  e.Length := size;
  e.Status := status;
  e.Data1 := data1;
  e.Data2 := data2;
  ZorXmit(OutputQueue, e);
end;

var
  i: Integer;
  came: TMIDIEvent;
begin
  if (SizeOf(TMIDIEvent) <> 14) or (MIDISysInit(0) <> -1) then Halt(1);
  if (ZorAllocMIDI(InputQueue, 256) = 0) or (ZorAllocMIDI(OutputQueue, 256) = 0)
    or (ZorStartMIDI(1) = 0) then
  begin
    WriteLn('MIDI could not be started');
    MIDISysTerm;
    Halt(1);
  end;
  for i := 0 to High(Scale) do
  begin
    Queue(i * 150, 2, $90, Scale[i], 96);
    Queue((i + 1) * 150, 2, $80, Scale[i], 0);
  end;
  { A position record as a rest of 300 ms: nothing is sent, but the queue stays non-empty. }
  Queue(Length(Scale) * 150 + 300, 0, $F8, 1, 0);
  while ZorXmitEmpty(0) = 0 do Sleep(10);
  WriteLn('played after ', ZorTimeMIDI(0), ' ms');
  while ZorRcv(came, 0) <> 0 do
    WriteLn(came.Time: 6, ' ms  channel ', came.Channel, '  ', IntToHex(came.Status, 2), ' ',
      came.Data1, ' ', came.Data2);
  ZorStopMIDI;
  MIDISysTerm;
end.
